#!/usr/bin/env python3
"""The host of docs/c-interface.md compiles as C99 without a warning, links, and says so where there is no agent.

usage: page_test.py COMPILER IMPORT_LIBRARY WINE_RUN OUTPUT_FOLDER MODULE...

The modules are put beside the program. Exit status 1 when something is wrong.
"""
import re
import shutil
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent


def main() -> int:
    compiler, library, wine, output, *modules = sys.argv[1:]
    folder = Path(output)
    folder.mkdir(parents=True, exist_ok=True)
    [code] = re.findall(r"```c\n(.*?)```", (ROOT / "docs/c-interface.md").read_text(), re.S)
    source, program = folder / "host.c", folder / "host.exe"
    source.write_text(code)
    subprocess.run([compiler, "-std=c99", "-pedantic", "-Wall", "-Wextra", "-Werror", source, f"-I{ROOT}/include", library,
                    "-o", program], check=True)
    for module in modules:
        shutil.copy(module, folder)
    done = subprocess.run([wine, program], capture_output=True, text=True, errors="replace")
    print(done.stdout, done.stderr, done.returncode)
    return 0 if done.returncode == 1 and done.stderr.startswith("no agent: The agent is not installed. ") else 1


if __name__ == "__main__":
    sys.exit(main())
