#!/usr/bin/env python3
"""The installer in clean Wine prefixes: what it lays down and registers, and what it leaves behind.

usage: installer_test.py --stage DIR --version V --installer FILE.msi [TEST...]

DIR: of packaging/make.py. Wine takes Windows 7 for granted, and what tells of Windows 10 is written first. What Wine does otherwise
than Windows is said in docs/install.md.
"""
import argparse
import re
import shutil
import subprocess
import sys
import time
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(Path(__file__).resolve().parent))

from prefix import Prefix, run, windows  # the path above first

OPTIONS = argparse.Namespace()
PATH, QUOTE = '"PATH"', '"'
NEWER = "99.0.0"
FOLDER = "Program Files/ORVAN/FCoE Agent"
DATA = "ProgramData/ORVAN/FCoE Agent"
MACHINE = r"HKLM\SOFTWARE\Microsoft\Windows NT\CurrentVersion"
SUITE = r"HKLM\SOFTWARE\ORVAN\Network_Services\QEL2"
# The log, which is the user's, and a folder of Wine's installer.
LEFT = {f"drive_c/{name}" for name in ("ProgramData/ORVAN", DATA, DATA + "/FcoeAgnt.txt", "windows/Installer")}
FEATURES = r"HKLM\SOFTWARE\ORVAN\Network_Services\TOLV"
REFUSED = 1603 & 0xFF  # a process of Wine ends with the lowest byte


class Machine(Prefix):
    """A prefix that is Windows 10, and what is on it."""

    SUITE = {"WINEDLLOVERRIDES": "setupapi=n,b"}  # under Wine the simulated PCI data must be asked for

    def __init__(self, name: str, windows_10: bool = True):
        super().__init__(OPTIONS.output / f"wine-{name}")
        if windows_10:
            self.wine("reg", "add", MACHINE, "/v", "CurrentMajorVersionNumber", "/t", "REG_DWORD", "/d", "10", "/f")

    def installer(self, *arguments: str, expected: int = 0) -> None:
        done = self.wine("msiexec", *arguments, "/qn", check=False)
        if done.returncode != expected:
            raise AssertionError(f"msiexec {arguments} ended with {done.returncode}:\n{done.stdout}{done.stderr}")

    def path(self, name: str) -> Path:
        return self.folder / "drive_c" / name

    def command(self, line: str, check: bool = True) -> subprocess.CompletedProcess:
        """As typed: programs are found on the search path."""
        return self.wine("cmd", "/c", line, check=check)

    def value(self, key: str, name: str) -> str | None:
        shown = self.wine("reg", "query", key, "/v", name, check=False).stdout
        found = re.search(rf"{name} +REG_\w+ +(.*?)\r?$", shown, re.MULTILINE)
        return found and found[1]

    def service(self) -> str:
        return self.wine("sc", "query", "OrvanDCB", check=False).stdout

    def files(self) -> set[str]:
        return {str(path.relative_to(self.folder)) for path in self.path("").rglob("*")
                if not re.search("(windows/temp|Temp)/", str(path))}

    def registry(self) -> set[str]:
        """Each value, with its key. In a new session: its end writes them."""
        self.end()
        values = set()
        for file in ("system.reg", "user.reg"):
            key = ""
            for line in (self.folder / file).read_text(encoding="latin-1").replace("\\\n", "").split("\n"):
                if line.startswith("["):
                    key = line[:line.rindex("]") + 1]
                elif line.startswith(('"', "@")):
                    # Wine leaves empty entries on the search path.
                    values.add(f"{key} {re.sub(';+', ';', line).replace(';' + QUOTE, QUOTE) if line.startswith(PATH) else line}")
        self.start()
        return values


# What Wine writes anew with each session.
OF_THE_SESSION = re.compile(r"\\+(Control\\+(Class|Video)|Enum|NetworkCards|Hardware)\\", re.IGNORECASE)


def changes(before: set[str], after: set[str]) -> list[str]:
    return sorted(line for line in before ^ after if not OF_THE_SESSION.search(line))


class Case(unittest.TestCase):
    def machine(self, *, windows_10: bool = True) -> Machine:
        machine = Machine(self.id().rpartition(".")[2], windows_10)
        self.addCleanup(shutil.rmtree, machine.folder, ignore_errors=True)
        self.addCleanup(machine.end)
        return machine


class Agent(Case):
    def test_is_installed_silently_and_goes_without_a_trace(self):
        machine = self.machine()
        files, values = machine.files(), machine.registry()
        machine.installer("/i", windows(OPTIONS.installer))
        self.assertEqual({"FcoeAgnt.dll", "FcoeAgntC.dll", "QelColib.dll", "fcoectl.exe", "libgcc_s_seh-1.dll", "libstdc++-6.dll",
                          "libwinpthread-1.dll"}, {file.name for file in machine.path(FOLDER + "/bin").iterdir()})
        self.assertEqual(r"C:\Program Files\ORVAN\FCoE Agent\bin\FcoeAgnt.dll",
                         machine.value(SUITE + r"\Agents\FcoeAgnt", "InstalledDir"))
        self.assertEqual("1", machine.value(FEATURES, "InstalledTOLV_FCOE"))
        self.assertEqual("C:\\ProgramData\\ORVAN\\FCoE Agent\\", machine.value(SUITE, "InstalledDir"))
        self.assertIn(f"fcoectl {OPTIONS.version}", machine.command("fcoectl --version").stdout)
        self.assertEqual(4, machine.command("fcoectl hbas", check=False).returncode)  # there is no core agent
        machine.installer("/x", windows(OPTIONS.installer))
        self.assertEqual(set(), (machine.files() ^ files) - LEFT)
        self.assertEqual([], changes(values, machine.registry()))

    def test_log_of_the_user_stays(self):
        machine = self.machine()
        machine.installer("/i", windows(OPTIONS.installer))
        machine.path(DATA + "/FcoeAgnt.txt").write_text("kept\n")
        machine.installer("/x", windows(OPTIONS.installer))
        self.assertEqual("kept\n", machine.path(DATA + "/FcoeAgnt.txt").read_text())

    def test_is_refused_by_an_older_windows_with_nothing_left(self):
        machine = self.machine(windows_10=False)
        machine.installer("/i", windows(OPTIONS.installer), expected=REFUSED)
        self.assertFalse(machine.path(FOLDER).exists())
        self.assertIsNone(machine.value(SUITE + r"\Agents\FcoeAgnt", "InstalledDir"))

    def test_goes_into_the_folder_that_is_chosen(self):
        machine = self.machine()
        machine.installer("/i", windows(OPTIONS.installer), r"INSTALLDIR=C:\Lab\Agent")
        self.assertEqual(r"C:\Lab\Agent\bin\FcoeAgnt.dll", machine.value(SUITE + r"\Agents\FcoeAgnt", "InstalledDir"))
        self.assertTrue(machine.path("Lab/Agent/bin/FcoeAgnt.dll").exists())
        machine.installer("/x", windows(OPTIONS.installer))
        self.assertFalse(machine.path("Lab/Agent").exists())

    def test_leaves_alone_what_another_installation_registered(self):
        machine = self.machine()
        for key, name, text in ((SUITE, "InstalledDir", r"D:\Suite"), (FEATURES, "InstalledTOLV_FCOE", "0"),
                                (SUITE + r"\Agents\CoreAgnt", "InstalledDir", r"D:\Suite\CoreAgnt.dll")):
            machine.wine("reg", "add", key, "/v", name, "/d", text, "/f")
        machine.installer("/i", windows(OPTIONS.installer), "ADDLOCAL=ALL")
        for moment in ("installed", "removed"):
            self.assertEqual(r"D:\Suite", machine.value(SUITE, "InstalledDir"), moment)
            self.assertEqual("0", machine.value(FEATURES, "InstalledTOLV_FCOE"), moment)
            self.assertEqual(r"D:\Suite\CoreAgnt.dll", machine.value(SUITE + r"\Agents\CoreAgnt", "InstalledDir"), moment)
            self.assertFalse(machine.path(FOLDER + "/bin/CoreAgnt.dll").exists(), moment)
            self.assertNotIn("RUNNING", machine.service())
            if moment == "installed":
                machine.installer("/x", windows(OPTIONS.installer))


class Suite(Case):
    """The agent with the simulated suite and the SDK, from its installation to its removal."""

    def tree(self, machine: Machine) -> str:
        return machine.wine(windows(machine.path(FOLDER + "/bin/fcoectl.exe")), "tree", variables=machine.SUITE).stdout

    def test_is_repaired_and_upgraded_and_goes_without_a_trace(self):
        machine = self.machine()
        files, values = machine.files(), machine.registry()
        machine.installer("/i", windows(OPTIONS.installer), "ADDLOCAL=ALL")
        self.assertIn("RUNNING", machine.service())
        shown = self.tree(machine)
        self.assertIn("LUN 5", shown)

        machine.path(FOLDER + "/bin/QelColib.dll").unlink()
        machine.path(FOLDER + "/bin/orvanhapi.dll").write_bytes(b"damaged")
        machine.wine("reg", "delete", FEATURES, "/v", "InstalledTOLV_DCB", "/f")
        machine.installer("/i", windows(OPTIONS.installer), "REINSTALL=ALL", "REINSTALLMODE=amus")
        self.assertEqual(shown, self.tree(machine))
        self.assertEqual("1", machine.value(FEATURES, "InstalledTOLV_DCB"))

        machine.installer("/i", windows(newer()), "ADDLOCAL=ALL")
        self.assertEqual(shown, self.tree(machine))
        self.assertFalse(machine.path(FOLDER + "/include/FcoeAgent/QelNetCfg.h").exists())
        self.assertIn("of a later version", machine.path(FOLDER + "/install.md").read_text())
        machine.installer("/i", windows(OPTIONS.installer), expected=REFUSED)
        self.assertIn("of a later version", machine.path(FOLDER + "/install.md").read_text())

        machine.installer("/x", windows(newer()))
        self.assertNotIn("RUNNING", machine.service())
        self.assertEqual(set(), (machine.files() ^ files) - LEFT)
        self.assertEqual([], changes(values, machine.registry()))

    def test_is_upgraded_while_a_host_has_the_agent_loaded(self):
        machine = self.machine()
        machine.installer("/i", windows(OPTIONS.installer), "ADDLOCAL=ALL")
        output = OPTIONS.output / "host.txt"
        with output.open("w") as file:
            host = subprocess.Popen(["wine", windows(machine.path(FOLDER + "/bin/fcoectl.exe")), "stats", "--watch", "0.5",
                                     "-o", "jsonl"], env=machine.environment, stdin=subprocess.DEVNULL, stdout=file,
                                    stderr=subprocess.STDOUT)
        self.addCleanup(host.wait)
        self.addCleanup(host.kill)
        self.until(lambda: output.stat().st_size > 0)
        machine.installer("/i", windows(newer()), "ADDLOCAL=ALL")
        size = output.stat().st_size
        self.until(lambda: output.stat().st_size > size)
        self.assertIsNone(host.poll())
        host.terminate()
        self.assertIn("LUN 5", self.tree(machine))
        self.assertIn("of a later version", machine.path(FOLDER + "/install.md").read_text())

    def until(self, condition) -> None:
        for _ in range(300):
            if condition():
                return
            time.sleep(0.1)
        self.fail("half a minute went by")


def newer() -> Path:
    """An installer of a later version, in which one file is changed and one is gone."""
    file = OPTIONS.output / "newer.msi"
    if not file.exists():
        stage = OPTIONS.output / "newer-stage"
        shutil.rmtree(stage, ignore_errors=True)
        shutil.copytree(OPTIONS.stage, stage, ignore=shutil.ignore_patterns("Symbols"))
        (stage / "Development/include/FcoeAgent/QelNetCfg.h").unlink()
        (stage / "Runtime/install.md").write_text("of a later version\n")
        run(ROOT / "packaging/installer.py", "--stage", stage, "--version", NEWER, "--output", file)
    return file


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--stage", type=Path, required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--installer", type=Path, required=True)
    parser.add_argument("tests", nargs="*")
    OPTIONS = parser.parse_args()
    OPTIONS.output = OPTIONS.installer.resolve().parent / "installer-test"
    shutil.rmtree(OPTIONS.output, ignore_errors=True)
    OPTIONS.output.mkdir(parents=True)
    unittest.main(argv=[sys.argv[0], *OPTIONS.tests])
