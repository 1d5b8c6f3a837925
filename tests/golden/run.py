#!/usr/bin/env python3
"""Golden transcripts: what the host prints, the agent logs and the neighbours are asked for each topology of
tests/data/topologies.

usage: run.py --build DIR [--update] [--alike] [NAME ...]

For each topology NAME.json the folder tests/golden/NAME holds the expected texts:

  table.txt, tree.txt, json.txt   every list, the tree, and all of them as JSON
  log.txt                         the agent's log of `fcoectl luns`, `vlans` and `stats`
  shown.txt                       the commands that show what the topology is about: what each prints, what the agent logs
                                  meanwhile, and the calls that the simulated neighbours see; of those three the calls

The commands of shown.txt stand in the topology's comment, after `//   fcoectl`, with `;` between them. They run one after
the other on one state, so that a virtual port that one creates can be deleted by a later one. Log lines stand without
process ids, times and counters. Of a text of more than 256 KiB the first and last twenty lines are kept, the number of its
lines and its SHA-256; the whole text is then in DIR/golden/NAME. 64x256 is made here: 16384 LUNs.

No two topologies have equal transcripts: one of them would prove nothing. They differ in a file or in what they show for the
same command; a command that only one of them names tells nothing apart. A single file may be equal to another's, as the
tree of a library that cannot rescan is a healthy one's; --alike lists those.

--update writes the texts anew. Exit status 0 when all are equal and no two sets are, 1 when not, 2 when a program could not
be run.
"""
import argparse
import difflib
import hashlib
import itertools
import os
import re
import subprocess
import sys
from collections import defaultdict
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
TOPOLOGIES = ROOT / "tests/data/topologies"
GOLDEN = ROOT / "tests/golden"
LISTS = ("hbas", "fabrics", "ports", "targets", "luns", "vlans", "stats")
# The lists whose log each topology has.
LOGGED = ("luns", "vlans", "stats")
# A log must not depend on how long a command took: each of these reads every cache once. `tree` reads them again and again,
# from the library or not as the time goes.
LOGGABLE = re.compile(r"(hbas|fabrics|ports|targets|luns|vlans|stats|dcb|wwpn|rescan|vport (list|create|delete))\b")
# What differs from run to run in a line of the call log: time, process, thread, and the version of the world.
CALL_HEADER = re.compile(r"^\S+ \S+ \d+ \d+ \S+ v\d+ ", re.MULTILINE)
LARGE = 1 << 18
ENDS = 20


def large_topology() -> str:
    """One adapter, 64 targets with 256 LUNs each."""
    luns = lambda t: ",\n".join(f'    {{"os_lun": {n}, "fcp_lun": {n}, "os_device_name": "\\\\\\\\.\\\\PHYSICALDRIVE{t * 256 + n}",'
                                f' "blocks": {2097153 * (n + 1)}}}' for n in range(256))
    targets = ",\n".join(f'  {{"port_wwn": "50:06:01:60:00:00:00:{t:02X}", "fc_id": {0x010500 + t}, "serial": "SN{t:04}", "luns": [\n'
                         f'{luns(t)}]}}' for t in range(64))
    return ('//   fcoectl targets\n'
            '{"adapters": [{"identifier": "{11111111-2222-4333-8444-555555555501}", "display_name": "Adapter one",\n'
            ' "mac": "00:1B:21:00:00:01", "port": {"node_wwn": "20:00:00:1B:21:00:00:01",\n'
            ' "port_wwn": "20:01:00:1B:21:00:00:01"}, "targets": [\n' + targets + ']}]}\n')


def reviewable(text: str) -> str:
    """The text itself, or of a large one what tells it from any other and can be read."""
    if len(text) <= LARGE:
        return text
    lines = text.splitlines(True)
    digest = hashlib.sha256(text.encode()).hexdigest()
    return "".join([*lines[:ENDS], f"[{len(lines)} lines, SHA-256 {digest}]\n", *lines[-ENDS:]])


def shown_commands(topology: Path) -> list[str]:
    """The commands of the comment on top of the file."""
    commands = []
    for line in topology.read_text().splitlines():
        if not line.startswith("//"):
            break
        if re.match(r"//\s+fcoectl ", line):
            commands += [command.strip().removeprefix("fcoectl ") for command in line.lstrip("/").split(";")]
    for command in commands:
        if not LOGGABLE.match(command):
            raise SystemExit(f"{topology.name}: the log of `fcoectl {command}` depends on the time")
    if not commands:
        raise SystemExit(f"{topology.name}: no command in its comment shows what it is about")
    return commands


def windows_path(path: Path) -> str:
    return "Z:" + str(path).replace("/", "\\")


class Suite:
    """The simulated suite in its Wine prefix below the build folder."""

    def __init__(self, build: Path):
        self.build = build
        self.state = build / "golden-state.json"
        self.log_file = build / "log/FcoeAgnt.txt"
        self.calls_file = build / "golden-calls.txt"

    def run(self, program: str, topology: Path, *arguments: str) -> tuple[str, int]:
        """What a program of the suite prints and its exit code."""
        environment = dict(os.environ, WINEPREFIX=str(self.build / "suite"), ORVAN_SIM_TOPOLOGY=windows_path(topology),
                           ORVAN_SIM_STATE=windows_path(self.state), ORVAN_SIM_CALLS=windows_path(self.calls_file))
        before = self.state.read_bytes() if self.state.exists() else None
        for _ in range(3):
            # The program before may still be about to close its log; a new file is nobody else's.
            for file in (self.log_file, self.calls_file, self.state):
                file.unlink(missing_ok=True)
            if before is not None:
                self.state.write_bytes(before)
            done = subprocess.run([ROOT / "cmake/wine-run", self.build / "bin" / program, *arguments], env=environment,
                                  stdin=subprocess.DEVNULL, capture_output=True, timeout=200)
            # It always says something; when nothing came, Wine lost the process.
            if done.stdout or done.stderr:
                break
        text = done.stdout.decode() + done.stderr.decode()
        # Where the suite lies is no part of the transcript.
        folder = windows_path(self.build)
        text = text.replace(folder.replace("\\", "\\\\"), "<build>").replace(folder, "<build>")
        return text.replace("\r\n", "\n"), done.returncode

    def in_one_process(self, topology: Path, commands: list[str]) -> dict[str, str]:
        """The transcript of each command, from one program that does what fcoectl does for each."""
        text, exit_code = self.run("golden_host.exe", topology, *commands)
        said = dict(re.findall(r"^\$ fcoectl (.*)\n((?:.*\n)*?\[exit \d+\]\n)\n", text, re.MULTILINE))
        if list(said) != commands or exit_code:
            print(f"golden_host ended with {exit_code} after {len(said)} of {len(commands)} commands:\n{text[-4000:]}")
        return {command: said.get(command, "") for command in commands}

    def fcoectl(self, topology: Path, command: str) -> str:
        text, exit_code = self.run("fcoectl.exe", topology, *command.split())
        return f"{text}[exit {exit_code}]\n"

    def log(self) -> str:
        raw = self.log_file.read_bytes().decode("cp1252").replace("\r\n", "\n")
        lines = (re.sub(r"^.*\tTIER (\d+)\t\t", r"\1 ", line) for line in raw.split("\n"))
        # The last error of a call that failed inside the library is whatever Windows left there.
        return "\n".join(re.sub(r"(failed with error: )\d+", r"\1N", line) for line in lines)

    def logged(self, topology: Path, command: str) -> tuple[str, str, str]:
        """What the program itself prints for a command, what the agent logs and what its neighbours are asked."""
        said = self.fcoectl(topology, command)
        calls = self.calls_file.read_text().replace("\r\n", "\n") if self.calls_file.exists() else ""
        calls = CALL_HEADER.sub("", calls)
        if wrong := re.search("^topology error: (.*)", calls, re.MULTILINE):
            raise SystemExit(wrong[1])
        # The owner of the configuration lock is the process.
        return said, self.log(), re.sub(r"(Lock owner=)\d+", r"\1P", calls)


def transcripts(suite: Suite, topology: Path) -> dict[str, str]:
    suite.state.unlink(missing_ok=True)
    json = [f"{name} --json" for name in LISTS + ("tree",)]
    said = suite.in_one_process(topology, [*LISTS, "tree", *json])
    log = ""
    for name in LOGGED:
        said[name], logged, _ = suite.logged(topology, name)  # the program itself must say the same
        log += f"$ fcoectl {name}\n{logged}\n"
    shown = ""
    for command in shown_commands(topology):
        printed, logged, calls = suite.logged(topology, command)
        shown += f"$ fcoectl {command}\n"
        if command not in LOGGED:  # whose texts stand in the other files
            shown += f"{printed}\n-- log\n{logged}\n-- calls\n"
        shown += f"{calls}\n"
    listed = lambda commands: "".join(f"$ fcoectl {command}\n{said[command]}\n" for command in commands)
    return {"table.txt": listed(LISTS), "tree.txt": said["tree"], "json.txt": listed(json), "log.txt": log,
            "shown.txt": shown}


def expected_sets() -> dict[str, dict[str, str]]:
    """What is kept, by topology and file."""
    return {folder.name: {file.name: file.read_text() for file in sorted(folder.glob("*.txt"))}
            for folder in sorted(GOLDEN.iterdir()) if folder.is_dir() and not folder.name.startswith("__")}


def groups(texts: dict[str, object]) -> list[list[str]]:
    """The names whose texts are equal, two and more together."""
    names = defaultdict(list)
    for name, text in texts.items():
        names[repr(text)].append(name)
    return [equal for equal in names.values() if len(equal) > 1]


def by_command(texts: dict[str, str]) -> dict[str, str]:
    """A set's texts by file, those of shown.txt by command."""
    parts = {name: text for name, text in texts.items() if name != "shown.txt"}
    return parts | dict(re.findall(r"^(\$ fcoectl [^\n]*)\n(.*?)(?=^\$ fcoectl |\Z)", texts.get("shown.txt", ""), re.M | re.S))


def indistinct(sets: dict[str, dict[str, str]], known: set[str]) -> list[str]:
    """What is wrong with the sets as they are kept: those that nothing both have tells apart, and those of no topology."""
    wrong = [f"tests/golden/{name}: there is no such topology" for name in sets if name not in known]
    parts = {name: by_command(texts) for name, texts in sets.items()}
    for one, other in itertools.combinations(sorted(known & sets.keys()), 2):
        if all(parts[one][part] == parts[other][part] for part in parts[one].keys() & parts[other].keys()):
            wrong.append(f"{one} and {other}: equal transcripts; name a command in the comments of both topologies that "
                         "shows the difference")
    return wrong


def compare(suite: Suite, folder: Path, texts: dict[str, str], update: bool) -> int:
    """How many files differ from what is kept; written anew instead when that was asked for."""
    different = 0
    for name in sorted({*texts, *(file.name for file in folder.glob("*"))}):
        file, whole = folder / name, texts.get(name)
        now = None if whole is None else reviewable(whole)
        if now != whole:
            kept = suite.build / "golden" / folder.name / name
            kept.parent.mkdir(parents=True, exist_ok=True)
            kept.write_text(whole)
        expected = file.read_text(errors="replace") if file.exists() else None
        if now == expected:
            continue
        different += 1
        if not update:
            sys.stdout.writelines(difflib.unified_diff((expected or "").splitlines(True), (now or "").splitlines(True),
                                                       str(file.relative_to(ROOT)), "now"))
            if now != whole:
                print(f"whole text: {kept}")
        elif now is None:
            file.unlink()
        else:
            folder.mkdir(exist_ok=True)
            file.write_text(now)
    return different


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, required=True)
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--alike", action="store_true", help="list the files that are equal to another topology's")
    parser.add_argument("names", nargs="*")
    options = parser.parse_args()
    suite = Suite(options.build.resolve())
    large = suite.build / "64x256.json"
    large.write_text(large_topology())
    topologies = sorted(TOPOLOGIES.glob("*.json")) + [large]
    known = {path.stem for path in topologies}
    for name in options.names:
        if name not in known:
            print(f"{name}: there is no {TOPOLOGIES / name}.json", file=sys.stderr)
            return 2
    different = 0
    for topology in topologies:
        if options.names and topology.stem not in options.names:
            continue
        count = compare(suite, GOLDEN / topology.stem, transcripts(suite, topology), options.update)
        print(f"{topology.stem}: {f'{count} files written' if options.update else 'compared'}", flush=True)
        different += 0 if options.update else count
    sets = expected_sets()
    if options.alike:
        for file in ("table.txt", "tree.txt", "json.txt", "log.txt", "shown.txt"):
            for equal in groups({name: texts[file] for name, texts in sets.items() if file in texts}):
                print(f"{file} alike: {', '.join(equal)}")
    wrong = indistinct(sets, known)
    for line in wrong:
        print(line)
    return 1 if different or wrong else 0


if __name__ == "__main__":
    sys.exit(main())
