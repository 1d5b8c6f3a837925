#!/usr/bin/env python3
"""The worlds of share/topologies: what the host prints in each for the commands that its comment names.

usage: run.py --build DIR [--update] [NAME ...]

The comment on top of NAME.json begins with a sentence that says what the world is, which stands in the list of
share/topologies/README.md as well, and names commands after `//   fcoectl`. What they print, and their exit codes, is kept
in tests/worlds/NAME.txt; they run one after the other on one state, as a user types them. The file is good and has no
mistake that simctl would warn of.

--update writes the texts and the list anew. Exit status 0 when all is as kept, 1 when not, 2 for a name that is none.
"""
import argparse
import difflib
import re
import sys
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
from golden.run import ROOT, Suite, reviewable, windows_path  # noqa: E402

WORLDS = ROOT / "share/topologies"
KEPT = Path(__file__).resolve().parent
LIST = WORLDS / "README.md"


def comment(world: Path) -> str:
    """The comment on top of the file, without its slashes."""
    lines = []
    for line in world.read_text().splitlines():
        if not line.startswith("//"):
            break
        lines.append(line[2:].removeprefix(" "))
    return "\n".join(lines)


def about(world: Path) -> str:
    """The first paragraph of its comment, on one line."""
    return " ".join(comment(world).split("\n\n")[0].split())


def commands(world: Path) -> list[str]:
    return re.findall(r"^  fcoectl (.+)$", comment(world), re.MULTILINE)


def listed(worlds: list[Path]) -> str:
    """The list as it has to stand in the README."""
    rows = "".join(f"| [{world.stem}]({world.name}) | {about(world)} |\n" for world in worlds)
    return f"| world | what it is |\n|---|---|\n{rows}"


def differs(file: Path, expected: str, now: str, update: bool) -> bool:
    if expected == now:
        return False
    if update:
        file.write_text(now)
        print(f"{file.relative_to(ROOT)}: written")
        return False
    sys.stdout.writelines(difflib.unified_diff(expected.splitlines(True), now.splitlines(True), str(file.relative_to(ROOT)), "now"))
    return True


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, required=True)
    parser.add_argument("--update", action="store_true")
    parser.add_argument("names", nargs="*")
    options = parser.parse_args()
    worlds = sorted(WORLDS.glob("*.json"))
    chosen = [world for world in worlds if not options.names or world.stem in options.names]
    if missing := set(options.names) - {world.stem for world in worlds}:
        print(f"there is no {WORLDS / sorted(missing)[0]}.json", file=sys.stderr)
        return 2
    suite = Suite(options.build.resolve())
    wrong = 0
    for world in chosen:
        if not commands(world):
            print(f"{world.name}: no command in its comment shows what it is about")
            wrong += 1
            continue
        checked, exit_code = suite.run("simctl.exe", world, "check", "--strict", windows_path(world))
        if exit_code:
            print(f"{world.name}: {checked}")
            wrong += 1
        suite.run("simctl.exe", world, "reset")  # the service may have kept a world that has moved
        suite.state.unlink(missing_ok=True)
        said = suite.in_one_process(world, commands(world))
        now = reviewable("".join(f"$ fcoectl {command}\n{text}\n" for command, text in said.items()))
        kept = KEPT / f"{world.stem}.txt"
        wrong += differs(kept, kept.read_text() if kept.exists() else "", now, options.update)
    for kept in sorted(set(KEPT.glob("*.txt")) - {KEPT / "CMakeLists.txt"}):
        if kept.stem not in {world.stem for world in worlds}:
            print(f"tests/worlds/{kept.name}: there is no such world")
            wrong += 1
    page = LIST.read_text()
    with_list = re.sub(r"\| world \|.*\n(?:\|.*\n)*", lambda _: listed(worlds), page)
    wrong += differs(LIST, page, with_list, options.update)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
