"""clang-tidy over every source that the build knows, as many at once as there are processors. A file that was clean is not
read again while it, all that it includes, its .clang-tidy files and its command are the same: build/lint keeps what was.

Most of the time of a test's source goes to the headers of gtest and Windows. Those of one program are therefore read in
batches: one source that includes all headers once and then each file in a namespace of its own. A batch that does not
compile is read file by file. Precompiled headers are GCC's, and would hide what a file does not include itself: they are left out.

usage: tidy.py --build DIR [--fresh] [FOLDER ...]

Findings go to standard output, each once; exit status 1 when there is one. --fresh forgets what was clean.
"""
import argparse
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys
import time
from collections import defaultdict
from concurrent.futures import ThreadPoolExecutor, as_completed
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
FINDING = re.compile(r"^(\S+?):\d+:\d+: (?:warning|error): ")
BATCH = 8
PRECOMPILED = re.compile(r" -Winvalid-pch\b| -fpch-preprocess\b| -include \S+/cmake_pch\.hxx")
DATABASE = ROOT / "build/lint"
BATCHES = DATABASE / "batches"
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


def clang_tidy(file: Path, database: Path, *arguments: str) -> list[str]:
    """The findings in a file and what it includes; one of its own when clang-tidy itself came to grief."""
    done = subprocess.run(["clang-tidy", "-p", database, "--quiet", *arguments, file], capture_output=True, text=True,
                          errors="replace")
    found = [line.replace(str(ROOT) + "/", "").replace(",-warnings-as-errors", "")
             for line in done.stdout.splitlines() if FINDING.match(line)]
    if done.returncode and not found:
        said = done.stderr.strip().splitlines()[-1:] or [""]
        found.append(f"{file.relative_to(ROOT)}: clang-tidy ended with {done.returncode}: {said[0]}")
    return found


class Batch:
    """Sources of one program that are read together."""

    def __init__(self, number: int, files: list[Path], command: str, build: Path):
        self.number, self.files, self.command, self.build = number, files, command, build

    def tidy(self) -> list[str]:
        if len(self.files) > 1:
            found = self.together()
            if not any("[clang-diagnostic-error]" in line or "clang-tidy ended" in line for line in found):
                return found
        return [line for file in self.files for line in clang_tidy(file, DATABASE)]

    def together(self) -> list[str]:
        folder = BATCHES / str(self.number)
        folder.mkdir(parents=True, exist_ok=True)
        headers = dict.fromkeys(line for file in self.files for line in re.findall(r"^#include .*", file.read_text(), re.M))
        parts = [f'namespace batch{i} {{\n#include "{file}"\n}}\n' for i, file in enumerate(self.files)]
        source = folder / "batch.cpp"
        source.write_text("\n".join([*headers, *parts]))
        (folder / ".clang-tidy").write_text((ROOT / "tests/.clang-tidy").read_text())
        command = self.command.replace(str(self.files[0]), str(source))
        (folder / "compile_commands.json").write_text(
            json.dumps([{"directory": str(self.build), "command": command, "file": str(source)}]))
        return clang_tidy(source, folder, r"--header-filter=tests/.*\.(h|cpp)$")


def batches(files: list[Path], commands: dict[Path, str], build: Path) -> list[Batch]:
    """The files, those of a test program together; the longest first."""
    alike = defaultdict(list)
    for file in files:
        # What has a header of its own defines what that declares, outside of any other namespace.
        alone = not file.is_relative_to(ROOT / "tests") or file.with_suffix(".h").exists()
        program = commands[file].split(" -o ")[0]
        alike[file if alone else (program, file.parent)].append(file)
    made = []
    for together in alike.values():
        together.sort()
        for at in range(0, len(together), BATCH):
            part = together[at:at + BATCH]
            made.append(Batch(len(made), part, commands[part[0]], build))
    return sorted(made, key=lambda batch: -sum(file.stat().st_size for file in batch.files))


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=lambda text: Path(text).resolve(), required=True)
    parser.add_argument("--fresh", action="store_true")
    parser.add_argument("folders", nargs="*")
    options = parser.parse_args()
    DATABASE.mkdir(parents=True, exist_ok=True)
    clean_file = DATABASE / "clean.json"
    clean = {} if options.fresh or not clean_file.exists() else json.loads(clean_file.read_text())

    tracked = set(subprocess.run(["git", "-C", ROOT, "ls-files", "--cached", "--others", "--exclude-standard", "*.cpp"],
                                 check=True, capture_output=True, text=True).stdout.split())
    commands: dict[Path, str] = {}
    for entry in json.loads((options.build / "compile_commands.json").read_text()):
        path = Path(entry["directory"], entry["file"]).resolve()
        # The build has batches of tests, too, each a source that it writes.
        written = path.is_relative_to(options.build) and path.exists()
        for name in INCLUDE.findall(path.read_text()) if written else [str(path)]:
            file = ROOT / name
            if file.is_relative_to(ROOT) and str(file.relative_to(ROOT)) in tracked:
                command = entry.get("command", "").replace(entry["file"], str(file))
                commands.setdefault(file, PRECOMPILED.sub("", command))
    inputs = Inputs(options.build)
    chosen = {file: str(file.relative_to(ROOT)) for file in commands
              if not options.folders or str(file.relative_to(ROOT)).startswith(tuple(options.folders))}
    digests = {file: inputs.digest(file, commands[file]) for file in chosen}
    waiting = [file for file, name in chosen.items() if clean.get(name) != digests[file]]
    begin = time.monotonic()
    findings: dict[str, None] = {}
    (DATABASE / "compile_commands.json").write_text(json.dumps(
        [{"directory": str(options.build), "command": command, "file": str(file)} for file, command in commands.items()]))
    shutil.rmtree(BATCHES, ignore_errors=True)
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        running = {pool.submit(batch.tidy): batch for batch in batches(waiting, commands, options.build)}
        for done in as_completed(running):
            found = done.result()
            for line in found:
                if line not in findings:
                    print(line, flush=True)
                findings[line] = None
            if not found:
                clean.update((chosen[file], digests[file]) for file in running[done].files)
                clean_file.write_text(json.dumps(clean, indent=1))
    print(f"{len(chosen)} files, {len(chosen) - len(waiting)} of them unchanged, {len(findings)} findings, "
          f"{time.monotonic() - begin:.0f} s", file=sys.stderr)
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
