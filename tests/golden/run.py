#!/usr/bin/env python3
"""Golden transcripts: what the host prints and the agent logs for each topology of tests/data/topologies.

usage: run.py --build DIR [--update] [NAME ...]

For each topology NAME.json the folder tests/golden/NAME holds the expected text of every rendering: table.txt, tree.txt,
json.txt, and log.txt, the agent's log of `fcoectl luns`, `vlans` and `stats` without process ids, times and counters.
Texts of more than 256 KiB are kept compressed. --update writes them anew. 64x256 is made here: 16384 LUNs.
Exit status 0 when all are equal, 1 when one differs, 2 when a program could not be run.
"""
import argparse
import difflib
import lzma
import os
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
TOPOLOGIES = ROOT / "tests/data/topologies"
GOLDEN = ROOT / "tests/golden"
LISTS = ("hbas", "fabrics", "ports", "targets", "luns", "vlans", "stats")


# The commands whose log does not depend on how long the ones before them took: each reads every cache once.
LOGGED = ("luns", "vlans", "stats")
LARGE = 1 << 18


def large_topology() -> str:
    """One adapter, 64 targets with 256 LUNs each."""
    luns = lambda t: ",\n".join(f'    {{"os_lun": {n}, "fcp_lun": {n}, "os_device_name": "\\\\\\\\.\\\\PHYSICALDRIVE{t * 256 + n}",'
                                f' "blocks": {2097153 * (n + 1)}}}' for n in range(256))
    targets = ",\n".join(f'  {{"port_wwn": "50:06:01:60:00:00:00:{t:02X}", "fc_id": {0x010500 + t}, "serial": "SN{t:04}", "luns": [\n'
                         f'{luns(t)}]}}' for t in range(64))
    return ('{"adapters": [{"identifier": "{11111111-2222-4333-8444-555555555501}", "display_name": "Adapter one",\n'
            ' "mac": "00:1B:21:00:00:01", "port": {"node_wwn": "20:00:00:1B:21:00:00:01",\n'
            ' "port_wwn": "20:01:00:1B:21:00:00:01"}, "targets": [\n' + targets + ']}]}\n')


def read_expected(file: Path) -> str:
    packed = file.with_name(file.name + ".xz")
    if packed.exists():
        return lzma.decompress(packed.read_bytes()).decode()
    return file.read_text() if file.exists() else ""


def write_expected(file: Path, text: str) -> None:
    file.parent.mkdir(exist_ok=True)
    packed = file.with_name(file.name + ".xz")
    for old in (file, packed):
        old.unlink(missing_ok=True)
    if len(text) > LARGE:
        packed.write_bytes(lzma.compress(text.encode(), preset=9))
    else:
        file.write_text(text)


def windows_path(path: Path) -> str:
    return "Z:" + str(path).replace("/", "\\")


class Suite:
    """The simulated suite in its Wine prefix below the build folder."""

    def __init__(self, build: Path):
        self.build = build
        self.state = build / "golden-state.json"
        self.log_file = build / "log/FcoeAgnt.txt"

    def run(self, program: str, topology: Path, *arguments: str) -> tuple[str, int]:
        """What a program of the suite prints and its exit code."""
        environment = dict(os.environ, WINEPREFIX=str(self.build / "suite"), ORVAN_SIM_TOPOLOGY=windows_path(topology),
                           ORVAN_SIM_STATE=windows_path(self.state))
        for _ in range(3):
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


def transcripts(suite: Suite, topology: Path):
    suite.state.unlink(missing_ok=True)
    json = [f"{name} --json" for name in LISTS + ("tree",)]
    said = suite.in_one_process(topology, [*LISTS, "tree", *json])
    log = ""
    for name in LOGGED:
        # The program before may still be about to close its log; a new file is nobody else's.
        suite.log_file.unlink(missing_ok=True)
        said[name] = suite.fcoectl(topology, name)  # the program itself must say the same
        log += f"$ fcoectl {name}\n{suite.log()}\n"
    listed = lambda commands: "".join(f"$ fcoectl {command}\n{said[command]}\n" for command in commands)
    yield "table.txt", listed(LISTS)
    yield "tree.txt", said["tree"]
    yield "json.txt", listed(json)
    yield "log.txt", log


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, required=True)
    parser.add_argument("--update", action="store_true")
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
        folder = GOLDEN / topology.stem
        for name, text in transcripts(suite, topology):
            file = folder / name
            if options.update:
                write_expected(file, text)
                continue
            expected = read_expected(file)
            if text != expected:
                different += 1
                sys.stdout.writelines(difflib.unified_diff(expected.splitlines(True), text.splitlines(True),
                                                           str(file.relative_to(ROOT)), "now"))
        print(f"{topology.stem}: {'written' if options.update else 'compared'}", flush=True)
    return 1 if different else 0


if __name__ == "__main__":
    sys.exit(main())
