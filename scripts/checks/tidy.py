"""clang-tidy over every source that the build knows, as many at once as there are processors. A file that was clean is not
read again while it, all that it includes, its .clang-tidy files and its command are the same: build/lint keeps what was.

usage: tidy.py --build DIR [--fresh] [FOLDER ...]

Findings go to standard output, each once; exit status 1 when there is one. --fresh forgets what was clean.
"""
import argparse
import hashlib
import json
import os
import re
import subprocess
import sys
import time
from collections import defaultdict
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
FINDING = re.compile(r"^(\S+?):\d+:\d+: (?:warning|error): ")
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


class Inputs:
    """What a file's result depends on: what it includes of this project, however deep, and the settings."""

    def __init__(self, build: Path):
        self.folders = [ROOT, ROOT / "include", build / "include", build]
        self.included: dict[Path, list[Path]] = {}

    def direct(self, file: Path) -> list[Path]:
        if file not in self.included:
            candidates = ([folder / name for folder in [file.parent, *self.folders]]
                          for name in INCLUDE.findall(file.read_text(errors="replace")))
            self.included[file] = [next((c for c in named if c.is_file()), None) for named in candidates]
            self.included[file] = [found for found in self.included[file] if found]
        return self.included[file]

    def digest(self, file: Path, command: str) -> str:
        seen, waiting = {file}, [file]
        while waiting:
            for other in self.direct(waiting.pop()):
                if other not in seen:
                    seen.add(other)
                    waiting.append(other)
        settings = {folder / ".clang-tidy" for path in seen for folder in path.parents if folder.is_relative_to(ROOT)}
        text = hashlib.sha256(command.encode())
        for path in sorted(seen) + sorted(path for path in settings if path.exists()):
            text.update(str(path).encode() + b"\0" + path.read_bytes() + b"\0")
        return text.hexdigest()


def tidy(file: Path, build: Path) -> tuple[list[str], bool]:
    """The findings in a file and its headers, and whether clang-tidy came to its end."""
    done = subprocess.run(["clang-tidy", "-p", build, "--quiet", file], capture_output=True, text=True, errors="replace")
    found = []
    for line in done.stdout.splitlines():
        if FINDING.match(line):
            found.append(line.replace(str(ROOT) + "/", "").replace(",-warnings-as-errors", ""))
    return found, done.returncode == 0 or bool(found)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=lambda text: Path(text).resolve(), required=True)
    parser.add_argument("--fresh", action="store_true")
    parser.add_argument("folders", nargs="*")
    options = parser.parse_args()
    clean_file = ROOT / "build/lint/clean.json"
    clean = {} if options.fresh or not clean_file.exists() else json.loads(clean_file.read_text())

    tracked = set(subprocess.run(["git", "-C", ROOT, "ls-files", "--cached", "--others", "--exclude-standard", "*.cpp"],
                                 check=True, capture_output=True, text=True).stdout.split())
    commands: dict[Path, str] = {}
    for entry in json.loads((options.build / "compile_commands.json").read_text()):
        path = Path(entry["directory"], entry["file"]).resolve()
        if path.is_relative_to(ROOT) and str(path.relative_to(ROOT)) in tracked:
            commands.setdefault(path, entry.get("command", ""))
    inputs = Inputs(options.build)
    chosen = {file: str(file.relative_to(ROOT)) for file in commands
              if not options.folders or str(file.relative_to(ROOT)).startswith(tuple(options.folders))}
    digests = {file: inputs.digest(file, commands[file]) for file in chosen}
    waiting = sorted((file for file, name in chosen.items() if clean.get(name) != digests[file]),
                     key=lambda file: -file.stat().st_size)
    begin = time.monotonic()
    findings: dict[str, None] = {}
    seconds: dict[str, float] = defaultdict(float)

    def one(file: Path):
        start = time.monotonic()
        result = tidy(file, options.build)
        return file, result, time.monotonic() - start

    clean_file.parent.mkdir(parents=True, exist_ok=True)
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        for file, (found, ended), took in pool.map(one, waiting):
            name = chosen[file]
            seconds[name.split("/")[0]] += took
            if not ended:
                findings[f"{name}: clang-tidy did not come to its end"] = None
            for line in found:
                if line not in findings:
                    print(line, flush=True)
                findings[line] = None
            if ended and not found:
                clean[name] = digests[file]
                clean_file.write_text(json.dumps(clean, indent=1))
    print(f"{len(chosen)} files, {len(chosen) - len(waiting)} of them unchanged, {len(findings)} findings, "
          f"{time.monotonic() - begin:.0f} s ({', '.join(f'{f} {s:.0f} s' for f, s in sorted(seconds.items()))})",
          file=sys.stderr)
    for line in findings:
        if line.endswith("its end"):
            print(line)
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
