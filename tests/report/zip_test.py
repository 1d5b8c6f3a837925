#!/usr/bin/env python3
"""The archive of `fcoectl diagnose` is one to Python's zipfile: names, sizes, checksums, times and contents.

usage: zip_test.py WINE_RUN FCOECTL FAKE_AGENT
"""
import json
import os
import subprocess
import sys
import tempfile
import time
import unittest
import zipfile
from pathlib import Path

RUN: list[str] = []
AGENT = ""


def shown(path: Path) -> str:
    return "Z:" + str(path).replace("/", "\\")


def fcoectl(*arguments: str) -> bytes:
    """What it writes to its output, with the scripted agent."""
    return subprocess.run([*RUN, *arguments, "--agent", AGENT], env=os.environ | {"FAKE_AGENT": "two"}, check=True,
                          capture_output=True).stdout


class Archive(unittest.TestCase):
    def test_is_understood(self):
        with tempfile.TemporaryDirectory() as name:
            file = Path(name) / "all.zip"
            done = fcoectl("diagnose", shown(file), "--json", "--tolerant")
            with zipfile.ZipFile(file) as archive:
                self.assertIsNone(archive.testzip())
                self.assertEqual(json.loads(done)["entries"], archive.namelist())
                self.assertEqual(fcoectl("version", "--json"), archive.read("version.json"))
                self.assertIn("ORVAN CNA Port 2", archive.read("report.html").decode())
                for entry in archive.infolist():
                    self.assertLess(abs(time.mktime((*entry.date_time, 0, 0, -1)) - time.time()), 3600, entry.filename)


if __name__ == "__main__":
    RUN, AGENT = sys.argv[1:3], shown(Path(sys.argv[3]))
    unittest.main(argv=sys.argv[:1])
