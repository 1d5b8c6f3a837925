#!/usr/bin/env python3
"""What fcoectl makes for shells and for man is understood by them: bash completes with its script, and its manual page
passes groff without a warning.

usage: shell_test.py WINE_RUN FCOECTL
"""
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

RUN: list[str] = []


def fcoectl(*arguments: str) -> str:
    return subprocess.run([*RUN, *arguments], check=True, capture_output=True).stdout.decode()


def completed(script: str, line: str) -> list[str]:
    """What bash offers for the last word of the line."""
    words = line.split(" ")
    quoted = " ".join(f"'{word}'" for word in words)
    command = f"{script}\nCOMP_WORDS=({quoted}); COMP_CWORD={len(words) - 1}; _fcoectl; printf '%s\n' \"${{COMPREPLY[@]}}\""
    done = subprocess.run(["bash", "-c", command], check=True, capture_output=True, text=True)
    return sorted(done.stdout.split())


class BashCompletion(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.script = fcoectl("completion", "bash")

    def check(self, line: str, *expected: str):
        self.assertEqual(sorted(expected), completed(self.script, line), line)

    def test_commands(self):
        self.check("fcoectl v", "vlans", "version", "vport")
        self.check("fcoectl vport ", "create", "delete", "list")
        self.check("fcoectl --json vport d", "delete")
        self.check("fcoectl --adapter vport re", "record", "report", "rescan")
        self.check("fcoectl ports v")

    def test_options_of_the_command(self):
        self.check("fcoectl vport create --", "--adapter", "--agent", "--dry-run", "--help", "--json", "--library-dir",
                   "--mask", "--timeout")
        self.check("fcoectl tree --a", "--adapter", "--agent", "--ascii")
        self.check("fcoectl ports --w", "--where")
        self.check("fcoectl stats --w", "--watch", "--where")

    def test_values(self):
        self.check("fcoectl ports -o j", "json", "jsonl")
        self.check("fcoectl vlans --columns vlan", "vlan_id")
        self.check("fcoectl vlans --columns vlan_id,n", "vlan_id,name")
        self.check("fcoectl vlans --where st", "state=", "state_code=")
        self.check("fcoectl vlans --adapter v")

    def test_file_to_write(self):
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, "page.html").touch()
            self.check(f"fcoectl report {folder}/p", f"{folder}/page.html")
            self.check(f"fcoectl ports {folder}/p")


class ManualPage(unittest.TestCase):
    def test_is_understood(self):
        page = fcoectl("man")
        done = subprocess.run(["groff", "-man", "-Tascii", "-P-c", "-ww"], input=page, capture_output=True, text=True, check=True)
        self.assertEqual("", done.stderr)
        plain = re.sub(".\x08", "", done.stdout)  # without bold and underlined
        for word in ("vport delete WWPN", "--where", "EXIT STATUS", "NO_COLOR"):
            self.assertIn(word, plain)
        self.assertIn("\\e\\e.\\ePHYSICALDRIVE1", page)
        self.assertTrue(page.isascii())


if __name__ == "__main__":
    RUN = sys.argv[1:3]
    unittest.main(argv=sys.argv[:1])
