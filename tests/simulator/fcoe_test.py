#!/usr/bin/env python3
"""./fcoe ctl, sim and run, as they are typed, in another folder than the project's.

usage: fcoe_test.py BUILD
"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
BUILD = Path()


def fcoe(*arguments: str, folder: str) -> subprocess.CompletedProcess:
    environment = {**os.environ, "FCOE_PRESET": BUILD.name}
    environment.pop("WINEPREFIX", None)
    return subprocess.run([ROOT / "fcoe", *arguments], capture_output=True, cwd=folder, env=environment, text=True)


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


if __name__ == "__main__":
    BUILD = Path(sys.argv[1])
    unittest.main(argv=sys.argv[:1])
