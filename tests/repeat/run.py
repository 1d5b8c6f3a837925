#!/usr/bin/env python3
"""The whole suite, again and again: every test program whole in one process, its cases in another order each time.

usage: run.py --build DIR [--runs N] [--seed S] [--jobs J] [--only REGEX] [--leave-out REGEX]
              [--json FILE]

Left out are the fresh clone, the load test (a minute of its own) and the fuzz corpus (a native program, always the same).
What there is to run is asked of ctest: the cases of one program become one run of the program, with the same Wine prefix,
locks and forbidden texts. Programs run side by side unless they share a lock. One line a run, a table of what failed at the
end; the output of what failed stays in DIR/repeat. Nothing stops it; exit status 1 when anything failed.

A run that Wine lost (verdict.py has the rule) is counted as lost and made once more with the same seed; lost twice it has
failed. --json FILE writes what was seen, for programs.
"""
import argparse
import dataclasses
import json
import os
import re
import signal
import subprocess
import sys
import threading
import time
from collections import defaultdict
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))  # for a program that loads this file by its path

# FAILED is for such a program: the three verdicts belong together.
from verdict import FAILED, LOST, PASSED, Outcome, Program, judge, known_tests, program_of  # the path above first

WATCHDOG_SECONDS = 1800  # of a whole program, which reports by itself where it hangs
WHOLE = {"FCOE_TEST_WATCHDOG": str(WATCHDOG_SECONDS)}


def programs(build: Path, leave_out: str) -> list[Program]:
    """The test programs that ctest knows, with their cases that are not disabled, and its other tests."""
    found: dict[str, Program] = {}
    for test in known_tests(build):
        properties = test["properties"]
        case = program_of(test)
        # A program of gtest cases runs whole, with those that are for the full run only.
        labels = set(properties.get("LABELS", [])) - ({"full"} if case.gtest else set())
        if any(re.search(leave_out, label) for label in labels) or properties.get("DISABLED"):
            continue
        name = Path(next(a for a in case.command if a.endswith(".exe"))).stem if case.gtest else case.name
        if name not in found:
            command = [a for a in case.command if not a.startswith("--gtest_")]
            found[name] = dataclasses.replace(case, name=name, command=command, cases=0)
        program = found[name]
        program.seconds_allowed = max(program.seconds_allowed,
                                      WATCHDOG_SECONDS + 60 if case.gtest else case.seconds_allowed)
        program.cases += case.cases
    return list(found.values())


class Repetition:
    def __init__(self, options):
        self.output = options.build / "repeat"
        self.output.mkdir(exist_ok=True)
        self.jobs = options.jobs
        self.seed = options.seed
        self.programs = [p for p in programs(options.build, options.leave_out) if re.search(options.only, p.name)]
        self.locks: dict[str, threading.Lock] = defaultdict(threading.Lock)
        self.running: set[subprocess.Popen] = set()
        self.interrupted = False
        self.runs = 0
        self.failed: dict[str, list[str]] = defaultdict(list)
        self.lost: dict[str, list[str]] = defaultdict(list)
        self.seen: list[dict] = []

    def once(self, program: Program, seed: int, attempt: int) -> Outcome:
        shuffle = ["--gtest_shuffle", f"--gtest_random_seed={seed}"] if program.gtest else []
        file = self.output / f"run{self.runs}-{program.name}{'-again' if attempt else ''}.txt"
        with file.open("wb") as output:
            process = subprocess.Popen(program.command + shuffle, cwd=program.folder, stdin=subprocess.DEVNULL,
                                       stdout=output, stderr=output, env={**os.environ, **program.environment, **WHOLE})
            self.running.add(process)
            try:
                exit_code = process.wait(program.seconds_allowed)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
                exit_code = None
            self.running.discard(process)
        outcome = judge(program, file.read_text(errors="replace").replace("\r\n", "\n"), exit_code)
        if outcome.verdict == PASSED:
            file.unlink()
        return outcome

    def run_program(self, program: Program, seed: int) -> tuple[Program, Outcome, Outcome | None]:
        with self.locks[program.lock or program.name]:
            begin = time.monotonic()
            if self.interrupted:
                raise KeyboardInterrupt
            first = self.once(program, seed, 0)
            second = self.once(program, seed, 1) if first.verdict == LOST and not self.interrupted else None
            program.seconds = time.monotonic() - begin
        return program, first, second

    def run(self) -> None:
        """All programs once, and the line that tells of it."""
        self.runs += 1
        seed = (self.seed + self.runs - 2) % 99999 + 1  # gtest takes 1 to 99999
        begin = time.monotonic()
        cases, failures, lost = 0, [], []
        order = sorted(self.programs, key=lambda p: (-p.seconds, -p.cases))
        with ThreadPoolExecutor(self.jobs) as pool:
            for program, first, second in pool.map(lambda p: self.run_program(p, seed), order):
                if second:
                    lost += first.failures
                last = second or first
                cases += last.cases
                if last.verdict != PASSED:
                    failures += last.failures
        seconds = time.monotonic() - begin
        self.seen.append({"run": self.runs, "seed": seed, "seconds": round(seconds, 1), "cases": cases,
                          "failed": failures, "lost": lost})
        where = f"run {self.runs}, seed {seed}"
        for name in failures:
            self.failed[name].append(where)
        for name in lost:
            self.lost[name].append(where)
        line = f"run {self.runs:3}  seed {seed:5}  {seconds:6.1f} s  {cases} cases  "
        line += f"FAILED: {', '.join(failures)}" if failures else "passed"
        if lost:
            line += f"  (lost by Wine, run once more: {', '.join(lost)})"
        print(line, flush=True)

    def interrupt(self) -> None:
        self.interrupted = True
        for process in list(self.running):
            process.kill()

    def times(self) -> str:
        return ", ".join(f"{p.name} {p.seconds:.0f} s" for p in sorted(self.programs, key=lambda p: -p.seconds))

    def write(self, file: Path) -> None:
        file.write_text(json.dumps({"programs": [p.name for p in self.programs], "runs": self.seen}, indent=2) + "\n")

    def close(self) -> int:
        print(f"\nlast run: {self.times()}")
        for title, table in (("failed", self.failed), ("lost by Wine", self.lost)):
            for name, where in sorted(table.items()):
                print(f"{title:13} {len(where):3} of {self.runs}  {name}  ({'; '.join(where)})")
        lost = sum(map(len, self.lost.values()))
        print(f"{self.runs} runs of {len(self.programs)} programs: {len(self.failed)} cases failed at least once, "
              f"{lost} processes lost by Wine" + (f"; outputs in {self.output}" if self.failed or lost else ""))
        return 1 if self.failed or not self.runs or not self.programs else 0


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=lambda text: Path(text).resolve(), required=True)
    parser.add_argument("--runs", type=int, default=50)
    parser.add_argument("--seed", type=int, default=1, help="the first run's; each later run has the next")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--only", default="", help="the programs whose name matches")
    parser.add_argument("--leave-out", default="^(fresh_clone|soak|fuzz|full)$", help="the labels that are not run")
    parser.add_argument("--json", type=Path, metavar="FILE", help="what was seen, for programs")
    options = parser.parse_args()
    repetition = Repetition(options)

    def stop(number, frame):
        repetition.interrupt()
        raise KeyboardInterrupt

    signal.signal(signal.SIGINT, stop)
    signal.signal(signal.SIGTERM, stop)
    try:
        for _ in range(options.runs):
            repetition.run()
    except KeyboardInterrupt:
        print("interrupted")
    if options.json:
        repetition.write(options.json)
    return repetition.close()


if __name__ == "__main__":
    sys.exit(main())
