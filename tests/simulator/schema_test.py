#!/usr/bin/env python3
"""The JSON Schema of topology files against the reader: the one that ships is simctl's own, every file that it refuses the
reader refuses, and the other way round for what a schema can say.

usage: schema_test.py WINE_RUN SIMCTL [--update | --every N]

Both are asked about the files of the project and about some thousand documents that are spoilt in one place: each Nth.
--update writes share/simulator/topology.schema.json anew.
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
SHIPPED = ROOT / "share/simulator/topology.schema.json"
TOPOLOGIES = sorted((ROOT / "tests/data/topologies").glob("*.json"))
BAD = sorted((ROOT / "tests/data/topologies/bad").glob("*.json"))
RUN: list[str] = []
every = 1

# What the reader refuses and no schema can: what values have to do with each other, and what files hold.
BEYOND = re.compile(r"the same |identifier of an adapter of this topology|cannot be read|two hexadecimal digits|at least one byte|"
                    r"the response is longer|is given twice|syntax error|cannot be applied|leaves a wrong topology|the value lies deeper")


def simctl(*arguments: str, folder: str | None = None) -> subprocess.CompletedProcess:
    return subprocess.run([*RUN, *arguments], capture_output=True, cwd=folder)


def without_comments(text: str) -> str:
    return re.sub(r'("(?:[^"\\]|\\.)*")|//[^\n]*|/\*.*?\*/', lambda match: match[1] or " ", text, flags=re.DOTALL)


def verdicts(documents: list[str]) -> list[dict]:
    """What the reader says of each."""
    found = []
    with tempfile.TemporaryDirectory() as folder:
        names = [f"{number}.json" for number in range(len(documents))]
        for name, text in zip(names, documents):
            Path(folder, name).write_text(text, encoding="utf-8")
        for start in range(0, len(names), 2000):  # as many as a command line takes
            done = simctl("check", "--json", *names[start:start + 2000], folder=folder)
            found += json.loads(done.stdout)["files"]
    assert len(found) == len(documents)
    return found


def places(value, pointer=()):
    """All values of a document, by their keys."""
    yield pointer, value
    members = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    for key, member in members:
        yield from places(member, (*pointer, key))


def spoilt(document, pointer, change):
    """A copy in which change(container, key) was done at the place; None: it could not."""
    if not pointer:
        return None
    copied = copy.deepcopy(document)
    container = copied
    for key in pointer[:-1]:
        container = container[key]
    change(container, pointer[-1])
    return copied


VALUES = [None, True, False, "", "text", -1, 0, 1, 2, 3, 4, 10, 16, 31, 32, 255, 256, 4096, 4097, 65535, 65536, 2**31, 2**32 - 1, 2**32,
          2**63 - 1, 2**63, 2**64 - 1, 1.5, "5", "0x", "0x0", "0x00", "0x1", "0X1f", "0x20", "0x00FF", "0x100", "0xFFF", "0x1000",
          "0x1001", "0xFFFF", "0x10000", "0x36EE80", "0x36EE81", "0xFFFFFFFF", "0x100000000", "0xA", "0x10", "0x0c",
          "0xFFFFFFFFFFFFFFFF", "0x10000000000000000", "0x1G", "10B01", "x" * 4, "x" * 5, "x" * 8, "x" * 9, "x" * 16, "x" * 17, "x" * 64,
          "x" * 65, "x" * 255, "x" * 256, "x" * 257, "x" * 259, "x" * 260, [], [1], [1] * 8, [1] * 9, {}, {"unknown": 1},
          "20:00:02:05:7C:00:00:0F", "20:00:02:05:7c:00:00", "20-00-02-05-7C-00-00-0F", "02:05:7C:00:00:0F", "2:05:7C:00:00:0F",
          "{11111111-2222-4333-8444-5555555555FF}", "11111111-2222-4333-8444-5555555555FF", "GetVersion", "EnumerateAdapters",
          ["20:00:02:05:7C:00:00:0F"] * 3, ["20:00:02:05:7C:00:00:0F"] * 2, ["x"] * 3]


def mutants(document):
    for pointer, value in places(document):
        for replacement in VALUES:
            yield spoilt(document, pointer, lambda container, key: container.__setitem__(key, replacement))
        if pointer and isinstance(pointer[-1], str):
            yield spoilt(document, pointer, lambda container, key: container.pop(key))
            yield spoilt(document, pointer, lambda container, key: container.__setitem__(key + "x", container.pop(key)))
        if isinstance(value, list) and value:
            yield spoilt(document, pointer, lambda container, key: container[key].append(container[key][0]))
            yield spoilt(document, pointer, lambda container, key: container[key].pop())


def guide_example() -> dict:
    text = (ROOT / "docs/simulator.md").read_text().split("```json\n", 1)[1].split("\n```", 1)[0]
    document = json.loads(without_comments(text))
    for _, value in places(document):  # files that are not beside the mutants
        if isinstance(value, dict):
            for key in ("inquiry", "vpd_80", "read_capacity_10", "read_capacity_16"):
                value.pop(key, None)
    return document


def described_keys(schema: dict):
    """The keys of an object and of those within, with what is said of each."""
    for key, value in schema.get("properties", {}).items():
        yield key, value.get("description")
        yield from described_keys(value)
    yield from described_keys(schema["items"]) if "items" in schema else ()


class Schema(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.text = simctl("schema").stdout.decode()
        cls.schema = json.loads(cls.text)
        cls.validator = Draft202012Validator(cls.schema)

    def test_is_a_valid_schema_of_2020_12(self):
        Draft202012Validator.check_schema(self.schema)

    def test_that_ships_is_the_readers(self):
        self.assertEqual(self.text, SHIPPED.read_text())

    def test_describes_each_key(self):
        guide = (ROOT / "docs/simulator.md").read_text()
        count = 0
        for key, about in described_keys(self.schema):
            self.assertTrue(about, key)
            self.assertTrue(f"`{key}`" in guide or f'"{key}"' in guide, key)
            count += 1
        self.assertGreater(count, 100)

    def test_guide_names_each_warning(self):
        guide = (ROOT / "docs/simulator.md").read_text()
        table = guide.split("by their `code` in `--json`:", 1)[1].split("### set", 1)[0]
        told = set(re.findall(r"`([a-z_]+)`", "\n".join(line.split("|")[1] for line in table.splitlines() if line.startswith("|"))))
        sources = "".join(path.read_text() for path in (ROOT / "simulator/topology").glob("*Warnings.cpp"))
        given = set(re.findall(r'(?:Add\(|Once\(\w+,)\s*"([a-z_]+)"', sources))
        self.assertGreater(len(given), 20)
        self.assertEqual(given - {"code"}, told - {"code"})

    def test_takes_the_files_of_the_project(self):
        for path in [*TOPOLOGIES, ROOT / "simulator/topology/default.json"]:
            errors = [error.message for error in self.validator.iter_errors(json.loads(without_comments(path.read_text())))]
            self.assertEqual([], errors, path)

    def test_refuses_the_bad_files_as_the_reader_does(self):
        count = 0
        for path in BAD:
            text = path.read_text()
            if BEYOND.search(text.splitlines()[0]):
                continue
            self.assertFalse(self.validator.is_valid(json.loads(without_comments(text))), path)
            count += 1
        self.assertGreater(count, 20)

    def test_and_reader_agree_on_spoilt_documents(self):
        # The two sides must not be told apart by what a schema cannot say, so one fault and one port of each kind.
        missing = {"adapters": [], "faults": [{"function": "ORVAN_GetTargetList", "missing": True}]}
        port = {"node_wwn": "10:00:02:05:7C:00:00:01", "port_wwn": "20:00:02:05:7C:00:00:01"}
        virtual = {"adapters": [{"identifier": "{11111111-2222-4333-8444-555555555501}", "mac": "02:05:7C:00:00:01", "port": port,
                                 "ports": [{"type": "0x3", "port_wwn": "20:01:02:05:7C:00:00:01"}]}]}
        fault = {"adapters": [], "faults": [{"function": "StartLock", "status": 1, "detail": 2, "count": 3, "lock_taken": 4,
                                             "times": 5, "delay_ms": 6, "throw": False, "missing": False, "garbage": True,
                                             "unterminated": False},
                                            {"function": "get_dcb_config", "hresult": "0x80004005", "on_call": 1}]}
        documents = [document for base in (guide_example(), missing, virtual, fault) for document in mutants(base)
                     if document is not None]
        unique = sorted({json.dumps(document) for document in documents})
        self.assertGreater(len(unique), 5000)
        unique = unique[::every]
        refused = disagreed = 0
        for text, verdict in zip(unique, verdicts(unique)):
            errors = [error["text"] for error in verdict["errors"]]
            reader = [error for error in errors if not BEYOND.search(error)]
            schema = not self.validator.is_valid(json.loads(text))
            refused += schema
            if schema != bool(reader) and disagreed < 10:
                disagreed += 1
                with self.subTest(schema_refuses=schema, reader=errors):
                    self.fail(text if len(text) < 400 else
                              next(iter(self.validator.iter_errors(json.loads(text)))).message if schema else "taken by the schema")
        self.assertGreater(refused, 3000 // every)
        self.assertGreater(len(unique) - refused, 500 // every)


def update() -> None:
    SHIPPED.parent.mkdir(parents=True, exist_ok=True)
    SHIPPED.write_bytes(simctl("schema").stdout)


if __name__ == "__main__":
    RUN = [os.path.abspath(argument) for argument in sys.argv[1:3]]
    if "--update" in sys.argv[3:]:
        update()
    else:
        if sys.argv[3:4] == ["--every"]:
            every = int(sys.argv[4])
        unittest.main(argv=sys.argv[:1])
