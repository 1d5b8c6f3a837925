#!/usr/bin/env python3
"""The downloads as a stranger has them: unpacked into folders with blanks in their names, with Wine and a cross-compiler, and
without the project's tree.

usage: package_test.py --build DIR --version V --objcopy PROGRAM --toolchain FILE --compiler PROGRAM [--update] [TEST...]

--update writes packaging/contents.txt anew.
"""
import argparse
import os
import shutil
import subprocess
import sys
import unittest
import zipfile
import zlib
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
HERE = Path(__file__).resolve().parent
CONTENTS = ROOT / "packaging/contents.txt"
sys.path.insert(0, str(ROOT / "tests/pe"))
sys.path.insert(0, str(HERE))

import check as pe  # the paths above first
from image import Image
from prefix import Prefix, run, windows

OPTIONS = argparse.Namespace()
DOWNLOADS = ("", "-sdk", "-simulator", "-symbols")
KB, MB = 1000, 1000 * 1000
LARGEST = {"FcoeAgnt.dll": 500 * KB, "fcoectl.exe": 2 * MB}
STANDARDS = {"c": "c99", "c++": "c++20"}
LARGEST_RUN_TIME_DOWNLOAD = 3 * MB


def output() -> Path:
    return OPTIONS.build / "package-test"


def download(name: str) -> Path:
    return output() / "package" / f"fcoe-agent{name}-{OPTIONS.version}-windows-x64.zip"


def make() -> None:
    run(ROOT / "packaging/make.py", "--build", OPTIONS.build, "--stage", output() / "stage", "--output", output() / "package",
        "--version", OPTIONS.version, "--objcopy", OPTIONS.objcopy)


def listing() -> str:
    return "".join(f"fcoe-agent{name}: {entry}\n" for name in DOWNLOADS for entry in zipfile.ZipFile(download(name)).namelist())


def built(source: Path, prefix: Path) -> Path:
    """The project, built with what is in that folder."""
    folder = output() / source.name
    shutil.rmtree(folder, ignore_errors=True)
    run("cmake", "-S", source, "-B", folder, "-G", "Ninja", f"-DCMAKE_TOOLCHAIN_FILE={OPTIONS.toolchain}",
        f"-DFcoeAgent_DIR={prefix}/lib/cmake/FcoeAgent")
    run("cmake", "--build", folder)
    return folder


def unpack(name: str) -> Path:
    folder = output() / f"a folder{name}"
    shutil.rmtree(folder, ignore_errors=True)
    run("cmake", "-E", "make_directory", folder)
    run("cmake", "-E", "tar", "xf", download(name), cwd=folder)
    return folder


class Downloads(unittest.TestCase):
    def test_hold_what_is_listed(self):
        self.assertEqual(CONTENTS.read_text(), listing())

    def test_are_small(self):
        self.assertLessEqual(download("").stat().st_size, LARGEST_RUN_TIME_DOWNLOAD)
        with zipfile.ZipFile(download("")) as archive:
            for name, largest in LARGEST.items():
                self.assertLessEqual(archive.getinfo(f"bin/{name}").file_size, largest, name)

    def test_have_stripped_files_that_name_their_symbols(self):
        symbols = zipfile.ZipFile(download("-symbols"))
        for name in DOWNLOADS[:-1]:
            archive = zipfile.ZipFile(download(name))
            for entry in archive.namelist():
                if not entry.endswith((".dll", ".exe")):
                    continue
                data = archive.read(entry)
                image = Image(data)
                sections = {section.name: section for section in image.sections}
                self.assertFalse([section for section in sections if section.startswith(".debug")], entry)
                link = sections[".gnu_debuglink"]
                text = data[link.offset:link.offset + link.size]
                file, _, _ = text.partition(b"\0")
                self.assertEqual(f"{Path(entry).name}.debug", file.decode())
                checksum = int.from_bytes(text[(len(file) + 4) & ~3:][:4], "little")
                self.assertEqual(zlib.crc32(symbols.read(file.decode())), checksum, entry)

    def test_have_no_file_that_windows_would_refuse_or_wonder_at(self):
        rules = pe.Rules(OPTIONS.version, pe.copyright_of(ROOT / "LICENSE"))
        for file in sorted((output() / "stage").rglob("*")):
            if file.suffix not in (".dll", ".exe"):
                continue
            image = Image(file.read_bytes())
            faults = rules.foreign(image) if file.name in pe.RUN_TIME else \
                rules.shipped(file.name, image, pe.Expected.read(pe.EXPECTED / f"{file.name}.txt"))
            self.assertEqual([], list(faults), file.name)

    def test_name_no_folder_of_the_machine_that_built_them(self):
        for name in DOWNLOADS:
            archive = zipfile.ZipFile(download(name))
            for entry in archive.namelist():
                self.assertFalse(str(ROOT).encode() in archive.read(entry), f"{name} {entry}")


class DownloadsAgain(unittest.TestCase):
    def test_are_equal_when_they_are_made_again(self):
        files = sorted((output() / "package").iterdir())
        before = {file: file.read_bytes() for file in files}
        make()
        self.assertEqual(files, sorted((output() / "package").iterdir()))
        for file in files:
            self.assertTrue(before[file] == file.read_bytes(), file.name)


class Outside(unittest.TestCase):
    """Hosts and neighbours that are built with the SDK's folder alone, and run on the simulator's."""

    @classmethod
    def setUpClass(cls):
        cls.sdk, cls.simulator = unpack("-sdk"), unpack("-simulator")
        cls.prefix = Prefix(output() / "wine")
        cls.addClassCleanup(cls.prefix.end)
        cls.before = cls.prefix.values()
        cls.shown = cls.prefix.wine("cmd", "/c", windows(cls.simulator / "setup.cmd"))
        cls.project = built(HERE / "outside", cls.sdk)
        cls.examples = built(cls.simulator / "examples", cls.simulator)

    def test_one_command_sets_the_suite_up_and_shows_the_fabric(self):
        for text in ("Link up", "Fabric 100", "Physical port  20:00:02:05:7C:3A:10:01", "100 GB"):
            self.assertIn(text, self.shown.stdout)

    def test_its_host_command_shows_the_fabric(self):
        tree = self.prefix.wine(windows(self.simulator / "bin/fcoectl.exe"), "tree")
        self.assertEqual(self.shown.stdout.partition("\n")[2].replace("\r", ""), tree.stdout.replace("\r", ""))
        self.assertEqual("", tree.stderr)

    def test_suite_that_is_set_up_is_not_replaced_by_another(self):
        other = output() / "another folder"
        shutil.rmtree(other, ignore_errors=True)
        shutil.copytree(self.simulator, other)
        for words in ("setup", "remove"):
            refused = self.prefix.wine(windows(other / "bin/simctl.exe"), words, check=False)
            self.assertEqual(1, refused.returncode)
            self.assertIn(windows(self.simulator) + "\\bin\\FcoeAgnt.dll", refused.stderr)
        self.assertIn(windows(self.simulator), self.prefix.values())

    def run_beside_suite(self, program: Path) -> str:
        # Where the suite's modules are: a careful host takes none from PATH.
        done = self.prefix.wine(windows(Path(shutil.copy(program, self.simulator / "bin"))), check=False,
                                variables={"WINEDLLOVERRIDES": "setupapi=n,b"})
        self.assertEqual("", done.stderr)
        self.assertEqual(0, done.returncode, done.stdout)
        return done.stdout.replace("\r", "")

    def test_example_hosts_show_adapters_and_luns_and_change_ports(self):
        for name in ("host_cpp", "host_c"):
            self.assertEqual((HERE / f"expected/{name}.txt").read_text(),
                             self.run_beside_suite(self.examples / f"{name}.exe"), name)

    def test_example_tests_of_a_host_pass_on_the_simulated_suite(self):
        for name in ("test_cpp", "test_c"):
            output = self.run_beside_suite(self.examples / f"{name}.exe")
            self.assertEqual((HERE / f"expected/{name}.txt").read_text(), output, name)

    def test_hosts_of_pkg_config(self):
        environment = dict(os.environ, PKG_CONFIG_LIBDIR=str(self.sdk / "lib/pkgconfig"))
        for package, language, source, expected in (("fcoe-agent", "c++", "cpp/host.cpp", "host_cpp"),
                                                    ("fcoe-agent-c", "c", "c/host.c", "host_c")):
            flags = run("pkg-config", "--cflags", "--libs", package, env=environment).stdout
            program = self.project / f"pkg-config-{expected}.exe"
            # The shell takes the blanks of the folder's name as pkg-config wrote them.
            run("sh", "-c", f'"$0" -std={STANDARDS[language]} -o "$1" -x {language} "$2" -x none {flags}', OPTIONS.compiler,
                program, self.sdk / "examples" / source)
            self.assertEqual((HERE / f"expected/{expected}.txt").read_text(), self.run_beside_suite(program), package)

    def test_c_host_of_the_import_library_for_other_linkers(self):
        program = self.project / "lib-host.exe"
        run(OPTIONS.compiler, "-std=c99", "-o", program, f"-I{self.sdk}/include", "-x", "c", self.sdk / "examples/c/host.c",
            "-x", "none", self.sdk / "lib/FcoeAgntC.lib")
        self.assertEqual((HERE / "expected/host_c.txt").read_text(), self.run_beside_suite(program))

    def refusal(self, *flags: str) -> str:
        done = run(OPTIONS.compiler, "-fsyntax-only", "-x", "c++", f"-I{self.sdk}/include", *flags,
                   self.sdk / "include/FcoeAgent/FcoeAgentIntf.h", check=False)
        return next((line for line in done.stderr.splitlines() if "#error" in line), "") if done.returncode else ""

    def test_headers_refuse_what_does_not_fit(self):
        self.assertEqual("", self.refusal("-std=c++17"))
        for flags, sentence in ((("-U__MINGW32__",), "other compilers use fcoe_agent.h."),
                                (("-D_GLIBCXX_DEBUG",), "build the host without it."),
                                (("-D_GLIBCXX_USE_CXX11_ABI=0",), "build the host without _GLIBCXX_USE_CXX11_ABI=0."),
                                (("-std=c++14",), "build the host with -std=c++17 or later.")):
            self.assertIn(sentence, self.refusal(*flags), flags)

    def test_vendor_library_of_the_neighbours_boundary(self):
        done = self.prefix.wine(windows(self.simulator / "bin/fcoectl.exe"), "hbas", "-o", "csv", "--columns",
                                "second_id,port_wwn,port_speed", "--library-dir", windows(self.project / "library"),
                                variables={"ORVAN_SIM_TOPOLOGY": windows(HERE / "outside/topology.json")}, check=False)
        self.assertIn("Lab,20:00:00:00:00:00:00:0A,10 Gbps", done.stdout, done.stderr)


class Removal(unittest.TestCase):
    def test_leaves_no_value_and_no_service(self):
        folder = unpack("-simulator")
        prefix = Prefix(output() / "wine-removal")
        self.addCleanup(prefix.end)
        before = prefix.values()
        prefix.wine("cmd", "/c", windows(folder / "setup.cmd"))
        self.assertNotEqual(before, prefix.values())
        prefix.wine("cmd", "/c", windows(folder / "setup.cmd"), "remove")
        self.assertEqual(before, prefix.values())


class RunTime(unittest.TestCase):
    def test_runs_from_any_folder_and_says_that_nothing_is_registered(self):
        folder = unpack("")
        prefix = Prefix(output() / "wine-empty")
        self.addCleanup(prefix.end)
        self.assertIn(f"fcoectl {OPTIONS.version}", prefix.wine(windows(folder / "bin/fcoectl.exe"), "--version").stdout)
        refused = prefix.wine(windows(folder / "bin/fcoectl.exe"), "hbas", check=False)
        self.assertEqual(3, refused.returncode)
        self.assertIn("The agent is not installed.", refused.stderr)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=Path, required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--objcopy", required=True)
    parser.add_argument("--toolchain", required=True)
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--update", action="store_true")
    parser.add_argument("tests", nargs="*")
    OPTIONS = parser.parse_args()
    OPTIONS.build = OPTIONS.build.resolve()
    make()
    if OPTIONS.update:
        CONTENTS.write_text(listing())
    unittest.main(argv=[sys.argv[0], *OPTIONS.tests])
