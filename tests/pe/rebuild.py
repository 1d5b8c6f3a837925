#!/usr/bin/env python3
"""Builds the files that are shipped once more, from a copy of the sources in another folder, and compares.

usage: rebuild.py --build DIR --again DIR --strip PROGRAM --targets NAME[,NAME...] FILE...

What is shipped, the stripped file, must be equal byte for byte; so must import libraries. The copy is kept, so that the next
run builds only what changed; the compiler cache, where there is one, gives both the same objects. That nothing in a file tells
the folder that the compiler worked in is check.py's to see. Exit status 1 when a file differs.
"""
import argparse
import shutil
import subprocess
import sys
from pathlib import Path

from image import strip

ROOT = Path(__file__).resolve().parent.parent.parent
COPIED = ("CMakeLists.txt", "LICENSE", "Common/", "agent/", "bench/", "capi/", "cmake/", "examples/", "hbaapi/", "include/", "model/",
          "packaging/", "simulator/", "tools/")


def copy_sources(to: Path) -> None:
    """Leaves alone what is equal, so that it is not built again."""
    listed = subprocess.run(["git", "-C", ROOT, "ls-files", "-z", "--cached", "--others", "--exclude-standard"], check=True,
                            capture_output=True, text=True).stdout.split("\0")
    names = {name for name in listed if name.startswith(COPIED) and (ROOT / name).is_file()}
    for old in to.rglob("*"):
        if old.is_file() and (relative := str(old.relative_to(to))).startswith(COPIED) and relative not in names:
            old.unlink()
    for name in names:
        source, target = ROOT / name, to / name
        if not target.exists() or target.read_bytes() != source.read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, target)


def run(log: Path, *command: str | Path) -> None:
    with log.open("a") as output:
        done = subprocess.run(command, stdout=output, stderr=output)
    if done.returncode:
        sys.exit(f"{command[0]} failed:\n" + log.read_text(errors="replace")[-4000:])


def content(program: str, file: Path, copy: Path) -> bytes:
    return strip(program, file, copy) if file.suffix in (".dll", ".exe") else file.read_bytes()


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, required=True)
    parser.add_argument("--again", type=Path, required=True)
    parser.add_argument("--strip", required=True)
    parser.add_argument("--targets", required=True)
    parser.add_argument("files", type=Path, nargs="+")
    options = parser.parse_args()
    sources, again = options.again, options.again / "build/release"
    sources.mkdir(parents=True, exist_ok=True)
    copy_sources(sources)
    log = sources / "build.log"
    log.unlink(missing_ok=True)
    run(log, "cmake", "-S", sources, "-B", again, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", "-DFCOE_BUILD_TESTS=OFF",
        f"-DCMAKE_TOOLCHAIN_FILE={sources}/cmake/mingw-wine.cmake")
    run(log, "cmake", "--build", again, "--target", *options.targets.split(","))
    different = 0
    for file in options.files:
        one, other = (content(options.strip, path, sources / "stripped")
                      for path in (file, again / file.relative_to(options.build)))
        at = next((i for i, (a, b) in enumerate(zip(one, other)) if a != b), min(len(one), len(other)))
        equal = one == other
        different += not equal
        print(f"{file.name}: {len(one)} bytes, " + ("equal" if equal else f"different at {at:#x} of {len(other)} bytes"))
    return 1 if different else 0


if __name__ == "__main__":
    sys.exit(main())
