"""The product's sources and the public headers, parsed by clang as MSVC's compiler would parse them.

That is its dialect, its name look-up and its record layouts, with the headers of mingw and GCC; MSVC's own library cannot be
had here. Nothing is generated: a source that says what only GCC accepts is found, no more.

usage: msvc.py --build DIR [--fresh]

Findings go to standard output; exit status 1 when there is one. A file that was clean is not read again while it and all that
it includes are the same, see tidy.py; --fresh reads all.
"""
import argparse
import json
import os
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from tidy import ROOT, Inputs

PRODUCT = ("agent", "model", "hbaapi", "Common/Src", "Common/QelColib")
PUBLIC = "include/FcoeAgent"
COMPILER = "clang++"
# Read once for all. mingw's MIDL_INTERFACE leaves the identifier out, which __uuidof of MSVC's dialect asks for.
PRELUDE = """\
#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>
#include <windows.h>
#include <oleauto.h>
#undef MIDL_INTERFACE
#define MIDL_INTERFACE(id) struct __declspec(uuid(id)) DECLSPEC_NOVTABLE
"""


def flags(build: Path) -> list[str]:
    gcc = Path(subprocess.run(["x86_64-w64-mingw32-g++-posix", "-print-libgcc-file-name"], check=True, capture_output=True,
                              text=True).stdout).parent
    library = gcc / "include/c++"
    system = [library, library / "x86_64-w64-mingw32", library / "backward", "/usr/x86_64-w64-mingw32/include",
              build / "generated"]
    return ["--target=x86_64-pc-windows-msvc", "-std=gnu++20", "-nostdlibinc", *(f"-isystem{folder}" for folder in system),
            # mingw's headers take a compiler for GCC's by this, and lack __declspec without that.
            "-fgnuc-version=12.2", "-D__declspec(x)=__declspec(x)",
            f"-I{ROOT}", f"-I{ROOT}/include", "-DUNICODE", "-D_UNICODE", "-DWIN32_LEAN_AND_MEAN", "-DNOMINMAX",
            "-DQEL_SAME_COMPILER",
            "-D_WIN32_WINNT=0x0602", "-Wall", "-Wextra", "-Werror"]


def parse(arguments: list[str], file: Path) -> list[str]:
    side = "-DQELCOLIB_EXPORTS" if "QelColib" in file.parts else "-DFCOEAGNT_EXPORTS"
    read = ["-include", file, "-xc++", "/dev/null"] if file.suffix == ".h" else ["-xc++", file]
    done = subprocess.run([COMPILER, *arguments, side, "-fsyntax-only", *read], capture_output=True, text=True,
                          errors="replace")
    said = done.stderr.replace(f"{ROOT}/", "")
    return [said or f"{file.relative_to(ROOT)}: {COMPILER} ended with {done.returncode}"] if done.returncode else []


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=lambda text: Path(text).resolve(), required=True)
    parser.add_argument("--fresh", action="store_true")
    options = parser.parse_args()
    begin = time.monotonic()
    arguments = flags(options.build)
    folder = ROOT / "build/lint"
    folder.mkdir(parents=True, exist_ok=True)
    clean_file = folder / "msvc.json"
    clean = {} if options.fresh or not clean_file.exists() else json.loads(clean_file.read_text())

    files = [file for name in PRODUCT for file in sorted((ROOT / name).glob("*.cpp"))]
    files += sorted((ROOT / PUBLIC).glob("*.h"))
    inputs = Inputs(options.build)
    digests = {file: inputs.digest(file, " ".join([*arguments, PRELUDE])) for file in files}
    waiting = [file for file in files if clean.get(str(file.relative_to(ROOT))) != digests[file]]
    findings = []
    if waiting:
        prelude = folder / "prelude.h"
        prelude.write_text(PRELUDE)
        subprocess.run([COMPILER, *arguments, "-xc++-header", prelude, "-o", f"{prelude}.pch"], check=True)
        with ThreadPoolExecutor(os.cpu_count()) as pool:
            jobs = [(file, pool.submit(parse, [*arguments, "-include-pch", f"{prelude}.pch"], file)) for file in waiting]
            for file, job in jobs:
                found = job.result()
                findings += found
                print("".join(found), end="", flush=True)
                if not found:
                    clean[str(file.relative_to(ROOT))] = digests[file]
        clean_file.write_text(json.dumps(clean, indent=1))
    print(f"{len(files)} files, {len(files) - len(waiting)} of them unchanged, {len(findings)} with findings, "
          f"{time.monotonic() - begin:.0f} s", file=sys.stderr)
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
