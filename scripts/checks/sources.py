"""What the checks share: the project's files, and how a check reports."""
import argparse
import subprocess
import sys
from collections.abc import Callable, Iterable
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
CPP = (".h", ".cpp")


class Tree:
    """The files of a folder: those that git knows, or all of a folder that is none of git's."""

    def __init__(self, root: Path):
        self.root = root
        listed = subprocess.run(["git", "-C", root, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                                capture_output=True, text=True)
        names = listed.stdout.split("\0") if listed.returncode == 0 and (root / ".git").exists() else \
            [str(path.relative_to(root)) for path in root.rglob("*") if path.is_file()]
        self.names = sorted(name for name in names if name and (root / name).is_file())

    def files(self, *suffixes: str) -> list[str]:
        return [name for name in self.names if name.endswith(suffixes)]

    def lines(self, name: str) -> list[str]:
        return (self.root / name).read_text(errors="replace").splitlines()


def run(check: Callable[[Tree], Iterable[str]], description: str) -> None:
    """Prints what the check finds, a line each as FILE:LINE: what is wrong; exit status 1 when it found something."""
    parser = argparse.ArgumentParser(description=description, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--root", type=Path, default=ROOT, help="another folder to look through")
    found = list(check(Tree(parser.parse_args().root.resolve())))
    print("\n".join(found), end="\n" if found else "")
    sys.exit(1 if found else 0)
