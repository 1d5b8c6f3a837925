#!/usr/bin/env python3
"""The JSON Schemas of fcoectl's documents: those that ship are those that the program prints, and every document that
it writes, that a transcript keeps or that the manual shows is as they say.

usage: schemas_test.py WINE_RUN FCOECTL FAKE_AGENT [--update]

Documents are held to more than the schemas promise: they have no other member, and every row has all of its columns.
--update writes share/schemas anew.
"""
import copy
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from jsonschema import Draft202012Validator

ROOT = Path(__file__).resolve().parent.parent.parent
SHIPPED = ROOT / "share/schemas"
LOG = "Z:" + str(ROOT / "tests/data/log/FcoeAgnt.txt").replace("/", "\\")
RUN: list[str] = []
AGENT = ""

# What each kind of document is asked for with, beside the command's own words, and how the scripted agent answers.
ASKED = {
    "usage": [["prots"], ["vlans", "--adaptor", "1"]],
    "stats": [[], ["--watch", "0.01", "--count", "2"]],
    "vport-create": [["20:01:00:1B:21:AA:BB:CC"], ["--dry-run"], ["auto", "--dry-run"]],
    "vport-delete": [["20:01:00:1B:21:00:00:01"], ["20:01:00:1B:21:00:00:01", "--dry-run"]],
    "rescan": [[], ["--all"], ["--all", "--dry-run"]],
    "report": [["OUTPUT"]],
    "diagnose": [["OUTPUT"]],
    "record": [["OUTPUT"]],
    "metrics": [["--output", "OUTPUT"]],
    "explain": [[], ["0x370000CB"], ["nothing of that name"]],
    "log-request": [["2"], ["4000000000"]],
    "log-timeline": [["--output", "OUTPUT"]],
    "help": [[], ["vport", "create"], ["nothing"]],
    "completion": [["bash"], ["powershell"], ["nothing"]],
    "schema": [[], ["hbas"], ["nothing"]],
}
SCRIPTS = ("", "two", "none", "unread", "false:luns", "refuse:203", "refuse:second two", "failed:Error_Getting_Handle",
           "null")


def fcoectl(*arguments: str, script: str = "") -> str:
    done = subprocess.run([*RUN, *arguments], capture_output=True, env={**os.environ, "FAKE_AGENT": script})
    if not done.stdout:
        raise AssertionError(f"{arguments} with the agent's script {script!r} wrote nothing, ended with {done.returncode}: {done.stderr}")
    return done.stdout.decode()


def strict(schema: dict) -> dict:
    """The schema, with what is only promised for the program of today."""
    schema = copy.deepcopy(schema)

    def tighten(part, is_document):
        if isinstance(part, list):
            for element in part:
                tighten(element, False)
        if not isinstance(part, dict):
            return
        for element in part.values():
            tighten(element, False)
        if "properties" in part and part.get("type") == "object":
            part["additionalProperties"] = False
            if not is_document and "required" not in part:
                part["required"] = list(part["properties"])

    tighten(schema, True)
    return schema


def documents_in(text: str):
    """The JSON documents of a transcript or of the manual, in which they are indented; not those that are shortened."""
    for match in re.finditer(r'^( *)\{\n\1  "schema": "fcoectl/.*?^\1\}$', text, re.DOTALL | re.MULTILINE):
        if "lines, SHA-256 " not in match[0]:
            yield json.loads(match[0])


class Schemas(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.kinds = fcoectl("schema").split()
        cls.texts = {kind: fcoectl("schema", *([kind] if kind == "usage" else kind.split("-", 1))) for kind in cls.kinds}
        cls.validators = {kind: Draft202012Validator(strict(json.loads(text))) for kind, text in cls.texts.items()}

    def check(self, document: dict, where: str) -> None:
        kind = document["schema"].removeprefix("fcoectl/")
        errors = [f"{error.json_path}: {error.message}" for error in self.validators[kind].iter_errors(document)]
        self.assertEqual([], errors, where)

    def test_are_valid_schemas_of_2020_12(self):
        self.assertIn("hbas", self.kinds)
        for text in self.texts.values():
            Draft202012Validator.check_schema(json.loads(text))

    def test_that_ship_are_the_programs(self):
        self.assertEqual(sorted(f"{kind}.json" for kind in self.kinds), sorted(path.name for path in SHIPPED.iterdir()))
        for kind, text in self.texts.items():
            self.assertEqual(text, (SHIPPED / f"{kind}.json").read_text(), kind)

    def test_describe_what_is_written(self):
        with tempfile.TemporaryDirectory() as folder:
            output = "Z:" + (folder + "/output").replace("/", "\\")
            for kind in self.kinds:
                words = [] if kind == "usage" else kind.split("-", 1)
                for arguments in ASKED.get(kind, [[]]):
                    arguments = [output if argument == "OUTPUT" else argument for argument in arguments]
                    if kind.startswith("log-"):
                        arguments += ["--file", LOG]
                    takes_agent = "--agent" in fcoectl(*words, "--help")
                    for script in SCRIPTS if takes_agent and words else SCRIPTS[:1]:
                        asked = [*words, *arguments, *(["--agent", AGENT] if takes_agent and words else []), "--json"]
                        text = fcoectl(*asked, script=script)
                        self.assertTrue(text.isascii(), asked)
                        document = json.loads(text)
                        self.assertIn(document["schema"], (f"fcoectl/{kind}", "fcoectl/usage"))
                        self.check(document, f"{asked} with the agent's script {script!r}")

    def test_describe_the_transcripts_and_the_manual(self):
        count = 0
        for path in [*sorted((ROOT / "tests/golden").rglob("*.txt")), *sorted((ROOT / "docs").glob("*.md"))]:
            for document in documents_in(path.read_text()):
                self.check(document, str(path.relative_to(ROOT)))
                count += 1
        self.assertGreater(count, 150)

    def test_refuse_what_is_not_so(self):
        document = json.loads(fcoectl("vlans", "--json", "--agent", AGENT))
        self.check(document, "as it is")
        for spoil in (lambda it: it.pop("problems"), lambda it: it["vlans"][0].update(vlan_id="1002"),
                      lambda it: it.update(version=2), lambda it: it.update(schema="fcoectl/vlan")):
            spoilt = copy.deepcopy(document)
            spoil(spoilt)
            self.assertFalse(self.validators["vlans"].is_valid(spoilt))


def update() -> None:
    SHIPPED.mkdir(parents=True, exist_ok=True)
    for path in SHIPPED.iterdir():
        path.unlink()
    for kind in fcoectl("schema").split():
        (SHIPPED / f"{kind}.json").write_text(fcoectl("schema", kind))


if __name__ == "__main__":
    RUN, AGENT = sys.argv[1:3], "Z:" + sys.argv[3].replace("/", "\\")
    if "--update" in sys.argv[4:]:
        update()
    else:
        unittest.main(argv=sys.argv[:1])
