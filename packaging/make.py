#!/usr/bin/env python3
"""Makes the downloads and the installer of a build: equal sources give equal files, wherever and whenever they are built.

usage: make.py --build DIR --stage DIR --output DIR --version V --objcopy PROGRAM

The stage gets the files as they are shipped, a folder for each component. Each PE file is stripped; what stripping takes off goes into the symbols' download, and the file tells its name.
"""
import argparse
import os
import shutil
import subprocess
import sys
import zipfile
from pathlib import Path

# The parts of `cmake --install` that each download has.
DOWNLOADS = {
    "": ("Runtime",),
    "-sdk": ("Runtime", "Development"),
    "-simulator": ("Runtime", "Development", "Simulator"),  # what a host's own test is built with, too
}
SYMBOLS = "-symbols"
INSTALLER = Path(__file__).resolve().parent / "installer.py"
EARLIEST = (1980, 1, 1, 0, 0, 0)  # that a zip can tell: no file has another date


def is_image(file: Path) -> bool:
    return file.suffix in (".dll", ".exe")


class Objcopy:
    def __init__(self, program: str):
        self.program = program

    def __call__(self, *arguments: str | Path) -> None:
        # Without a date given it writes the present one into the file.
        subprocess.run([self.program, *arguments], check=True, env=dict(os.environ, SOURCE_DATE_EPOCH="0"))

    def split(self, file: Path, symbols: Path) -> None:
        """Leaves the file as it is shipped, and lays beside the others what it had more."""
        symbols.mkdir(parents=True, exist_ok=True)
        debug = symbols / f"{file.name}.debug"
        self("--only-keep-debug", file, debug)
        self("--strip-all", f"--add-gnu-debuglink={debug}", file)


def install(build: Path, component: str, prefix: Path) -> None:
    subprocess.run(["cmake", "--install", build, "--component", component, "--prefix", prefix], check=True,
                   stdout=subprocess.DEVNULL)


def pack(files: dict[str, Path], file: Path) -> None:
    """files: by the name that each has in the archive."""
    with zipfile.ZipFile(file, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, path in sorted(files.items()):
            entry = zipfile.ZipInfo(name, EARLIEST)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 3  # Unix, which unpacks the rights
            entry.external_attr = (0o100755 if is_image(path) else 0o100644) << 16
            archive.writestr(entry, path.read_bytes())


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, required=True)
    parser.add_argument("--stage", type=Path, required=True)
    parser.add_argument("--output", type=Path, required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--objcopy", required=True)
    options = parser.parse_args()
    stage = options.stage.resolve()
    for folder in (stage, options.output):
        shutil.rmtree(folder, ignore_errors=True)
    options.output.mkdir(parents=True)
    objcopy = Objcopy(options.objcopy)
    for component in sorted({component for parts in DOWNLOADS.values() for component in parts}):
        install(options.build, component, stage / component)
        for file in (stage / component).rglob("*"):
            if is_image(file):
                objcopy.split(file, stage / "Symbols")
    for name, components in {**DOWNLOADS, SYMBOLS: ("Symbols",)}.items():
        files = {path.relative_to(stage / component).as_posix(): path
                 for component in components for path in (stage / component).rglob("*") if path.is_file()}
        pack(files, options.output / f"fcoe-agent{name}-{options.version}-windows-x64.zip")
    subprocess.run([INSTALLER, "--stage", stage, "--version", options.version, "--output",
                    options.output / f"fcoe-agent-{options.version}-windows-x64.msi"], check=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
