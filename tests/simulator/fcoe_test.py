#!/usr/bin/env python3
"""./fcoe ctl, sim and run, as they are typed, in another folder than the project's; and the tutorial of docs/simulator.md, whose
blocks show what its commands print.

usage: fcoe_test.py BUILD [--update]

--update writes the tutorial's blocks anew.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
PAGE = ROOT / "docs/simulator.md"
BUILD = Path()
UPDATE = False


def environment() -> dict:
    variables = {**os.environ, "FCOE_PRESET": BUILD.name}
    variables.pop("WINEPREFIX", None)
    return variables


def fcoe(*arguments: str, folder: str) -> subprocess.CompletedProcess:
    return subprocess.run([ROOT / "fcoe", *arguments], capture_output=True, cwd=folder, env=environment(), text=True)


class Fcoe(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        fcoe("sim", "functions", folder=cls.folder.name)  # builds and sets up what is not there

    def test_ctl_says_nothing_of_its_own(self):
        done = fcoe("ctl", "hbas", "--no-header", "--columns", "name", folder=self.folder.name)
        self.assertEqual(("", 0), (done.stderr, done.returncode))
        self.assertEqual(2, len(done.stdout.splitlines()), done.stdout)

    def test_sim_takes_files_of_the_callers_folder(self):
        Path(self.folder.name, "lab.json").write_text('{"adapters": [],\n "x": 1}')
        done = fcoe("sim", "check", "lab.json", folder=self.folder.name)
        self.assertEqual(("lab.json:2:2: /: unknown key \"x\"\n", "", 1), (done.stderr, done.stdout, done.returncode))

    def test_run_runs_a_host_that_lies_anywhere(self):
        shutil.copy(BUILD / "bin/fcoectl.exe", Path(self.folder.name, "host.exe"))
        done = fcoe("run", "host.exe", "hbas", "--long", folder=self.folder.name)
        self.assertEqual(("", 0), (done.stderr, done.returncode))
        self.assertIn("PCI bus 3, device 0, function 1", done.stdout)  # from setupapi.dll, which has a name of the system's

    def test_run_needs_a_host(self):
        done = fcoe("run", folder=self.folder.name)
        self.assertEqual(("fcoe: a host is missing: ./fcoe run HOST.exe [ARGUMENTS]\n", 1), (done.stderr, done.returncode))


class Tutorial(unittest.TestCase):
    """Its commands, one after the other, in a folder of the reader's that has share/."""

    def setUp(self):
        self.reader = tempfile.TemporaryDirectory()
        self.addCleanup(self.reader.cleanup)
        Path(self.reader.name, "fcoe").symlink_to(ROOT / "fcoe")
        Path(self.reader.name, "share").symlink_to(ROOT / "share")
        # Which world is in use is the developer's choice.
        used = re.search(r"^topology +(Z:.*)$", fcoe("sim", "show", folder=self.reader.name).stdout, re.MULTILINE)
        self.addCleanup(fcoe, "sim", "use", used.group(1) if used else "--default", folder=self.reader.name)

    def shown(self, block: re.Match) -> str:
        text = "```console\n"
        for command in re.findall(r"^\$ (.*)$", block.group(0), re.MULTILINE):
            done = subprocess.run(["bash", "-c", command], capture_output=True, cwd=self.reader.name, text=True, env=environment())
            text += f"$ {command}\n" + done.stdout + done.stderr + (f"-> {done.returncode}\n" if done.returncode else "")
        for folder, name in ((self.reader.name, "lab"), (str(ROOT), "fcoe")):
            text = text.replace("Z:" + folder.replace("/", "\\"), f"Z:\\home\\me\\{name}")
        return text + "```\n"

    def test_shows_what_the_page_says(self):
        page = PAGE.read_text()
        start = page.index("\n## Ten minutes")
        end = page.index("\n## ", start + 1)
        now = page[:start] + re.sub("```console\n.*?```\n", self.shown, page[start:end], flags=re.DOTALL) + page[end:]
        if UPDATE:
            PAGE.write_text(now)
        else:
            self.assertEqual(page, now)


if __name__ == "__main__":
    BUILD = Path(sys.argv[1])
    UPDATE = "--update" in sys.argv
    unittest.main(argv=sys.argv[:1])
