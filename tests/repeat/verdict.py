"""The one rule by which a run of a test program is judged: passed, failed, or lost by Wine.

Wine loses a process now and then: its output, or its exit code. Output and exit code then contradict each other (no closing
line and exit code 0, or all passed and another exit code), or there is no output at all. Only such a run is lost; whatever
says that it failed, crashed or hung has failed. So has what ran out of time, but for a program of gtest cases that never said a
word: it did not get to its main, where its watchdog starts. A program that Wine does not run cannot be lost by it.
"""
import json
import re
import subprocess
from collections import Counter
from dataclasses import dataclass, field
from pathlib import Path

# What the crash report and the watchdog of the test programs begin with.
CRASHED = re.compile(r"^(CRASH|HANG)", re.MULTILINE)
PASSED, FAILED, LOST = "passed", "failed", "lost"


@dataclass
class Program:
    name: str
    command: list[str]
    folder: str = ""
    lock: str = ""
    must_say: str = ""
    must_not_say: list[str] = field(default_factory=list)
    environment: dict[str, str] = field(default_factory=dict)
    seconds_allowed: float = 0
    cases: int = 0
    gtest: bool = False
    seconds: float = 0  # of the last run: the longest start first

    @property
    def wine(self) -> bool:
        return any(Path(argument).name == "wine-run" for argument in self.command)


@dataclass
class Outcome:
    verdict: str
    cases: int
    failures: list[str]


def known_tests(build: Path, *selection: str) -> list[dict]:
    """What ctest knows, in the order of its numbers: name, command, and `properties` by their names."""
    shown = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1", *selection], check=True,
                           capture_output=True)
    tests = json.loads(shown.stdout)["tests"]
    for test in tests:
        test["properties"] = {p["name"]: p["value"] for p in test["properties"]}
    twice = [name for name, count in Counter(test["name"] for test in tests).items() if count > 1]
    if twice:
        raise SystemExit(f"several tests have one name, so that ctest's results cannot be told apart: {', '.join(twice)}")
    return tests


def cases_of(test: dict) -> list[str]:
    """The gtest cases that one of the tests that ctest knows runs in its process; of another program, the test itself."""
    for argument in test.get("command", []):
        if argument.startswith("--gtest_filter="):
            return argument.partition("=")[2].split(":")
    return [test["name"]]


def program_of(test: dict) -> Program:
    """The program that runs one of the tests that ctest knows, as the program of its cases."""
    properties = test["properties"]
    # A test whose program is not built yet has no command.
    command = test.get("command", [])
    gtest = any(a.startswith("--gtest_filter=") for a in command)
    return Program(test["name"], command, properties["WORKING_DIRECTORY"],
                   lock=(properties.get("RESOURCE_LOCK") or [""])[0],
                   must_say="|".join(properties.get("PASS_REGULAR_EXPRESSION", [])),
                   must_not_say=properties.get("FAIL_REGULAR_EXPRESSION", []),
                   environment=dict(setting.split("=", 1) for setting in properties.get("ENVIRONMENT", [])),
                   seconds_allowed=properties.get("TIMEOUT", 0), cases=len(cases_of(test)), gtest=gtest)


def judge(program: Program, text: str, exit_code: int | None) -> Outcome:
    """What a run says of itself, and what its end says of it. No exit code: it ran out of time."""
    if program.gtest:
        failures = sorted(set(re.findall(r"^\[  FAILED  \] ([A-Za-z_][^\s,]*)", text, re.MULTILINE)))
        done = len(re.findall(r"^\[ {7}OK \]|^\[  (?:FAILED|SKIPPED)  ?\].* \(\d+ ms\)", text, re.MULTILINE))
        # Of all its cases: those that start the program again show its closing lines, too.
        whole = re.search(rf"^\[=+\] {program.cases} tests? from .* ran\.", text, re.MULTILINE)
        if whole:  # a line of another process may have fallen into one of those counted above
            done = program.cases
        started = re.findall(r"^\[ RUN      \] (\S+)", text, re.MULTILINE)
        here = [] if whole else [started[-1] if started else program.name]
    else:
        failures, done, here = [], program.cases, [program.name]
        whole = re.search(program.must_say, text) if program.must_say else exit_code == 0
    for forbidden in program.must_not_say:
        if re.search(forbidden, text):
            return Outcome(FAILED, done, failures or [f"{program.name} said {forbidden!r}"])
    if exit_code is None:
        if program.wine and program.gtest and not text:
            return Outcome(LOST, done, [f"{program.name} (never started)"])
        return Outcome(FAILED, done, failures + [f"{name} (ran for {program.seconds_allowed:.0f} s)" for name in here])
    # A crash before the closing line is one of a process that a case started to see it crash.
    if failures or CRASHED.search(text, whole.end() if program.gtest and whole else 0):
        return Outcome(FAILED, done, failures + here or [f"{program.name} (its end)"])
    if whole and exit_code == 0:
        return Outcome(PASSED, done, [])
    if program.wine and (whole or exit_code == 0 or not text):
        return Outcome(LOST, done, here or [f"{program.name} (exit code {exit_code})"])
    return Outcome(FAILED, done, [f"{name} (exit code {exit_code})" for name in here])
