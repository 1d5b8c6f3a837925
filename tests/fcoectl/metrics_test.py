#!/usr/bin/env python3
"""What `fcoectl metrics` writes is understood: by the parsers of Prometheus's client library and, where it is at hand, by
promtool. The page and the alerts name metrics that there are.

usage: metrics_test.py WINE_RUN FCOECTL FAKE_AGENT
"""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import prometheus_client.openmetrics.parser
import prometheus_client.parser

ROOT = Path(__file__).resolve().parent.parent.parent
ALERTS = ROOT / "share/prometheus/fcoe-alerts.yml"
RUN: list[str] = []
AGENT = ""


def fcoectl(*arguments: str, script: str = "") -> bytes:
    """What it writes to its output, with the scripted agent."""
    command = [*RUN, *arguments, "--agent", AGENT, "--tolerant"]
    done = subprocess.run(command, env=os.environ | {"FAKE_AGENT": script}, check=True, capture_output=True)
    return done.stdout


def samples(families) -> dict:
    """The values by name and labels, none of them twice."""
    found = {}
    for family in families:
        for sample in family.samples:
            key = (sample.name, *sorted(sample.labels.items()))
            assert key not in found, key
            assert sample.timestamp is None, key
            found[key] = sample.value
    return found


def prometheus(*options: str, script: str = "") -> dict:
    text = fcoectl("metrics", *options, script=script).decode()
    return samples(prometheus_client.parser.text_string_to_metric_families(text))


def without_times(values: dict) -> dict:
    return {key: value for key, value in values.items() if not key[0].startswith("fcoe_read_")}


class Metrics(unittest.TestCase):
    def test_are_lines_with_line_feeds(self):
        text = fcoectl("metrics")
        self.assertTrue(text.endswith(b"\n"))
        self.assertNotIn(b"\r", text)

    def test_have_the_counters_of_stats(self):
        statistics = json.loads(fcoectl("stats", "--json", script="two"))["statistics"]
        counters = {key: value for key, value in prometheus(script="two").items() if key[0].endswith("_total")}
        self.assertEqual(2 * 11, len(counters))
        for (name, *labels), value in counters.items():
            own = {entry["value"] for entry in statistics if ("adapter", entry["device_id"]) in labels}
            self.assertIn(value / (4 if "bytes" in name else 1), own, name)

    def test_are_the_same_as_openmetrics(self):
        text = fcoectl("metrics", "--openmetrics", script="two").decode()
        self.assertTrue(text.endswith("\n# EOF\n"))
        families = prometheus_client.openmetrics.parser.text_string_to_metric_families(text)
        self.assertEqual(without_times(prometheus(script="two")), without_times(samples(families)))

    def test_have_names_of_any_characters(self):
        name = json.loads(fcoectl("hbas", "--json", script="foreign"))["hbas"][0]["second_id"]
        self.assertFalse(name.isascii())
        self.assertIn(("name", name), [label for key in prometheus(script="foreign") for label in key[1:]])

    def test_tell_of_what_was_not_read(self):
        values = prometheus(script="two false:targets")
        self.assertEqual(0, values[("fcoe_read_complete",)])
        self.assertEqual(1, prometheus(script="two")[("fcoe_read_complete",)])

    def test_are_those_of_the_page_and_the_alerts(self):
        names = {key[0] for key in prometheus(script="two")}
        page = (ROOT / "docs/fleet.md").read_text(encoding="utf-8")
        table = set(re.findall(r"`(fcoe_\w+)`", "".join(line for line in page.splitlines() if line.startswith("| `fcoe_"))))
        self.assertEqual(table, names)
        used = set(re.findall(r"\bfcoe_\w+", "".join(re.findall(r"expr: (.*)", ALERTS.read_text(encoding="utf-8")))))
        self.assertTrue(used)
        self.assertLessEqual(used, names)

    def test_replace_a_file_in_one_step(self):
        with tempfile.TemporaryDirectory() as folder:
            file = Path(folder) / "fcoe.prom"
            file.write_text("before")
            shown = "Z:" + str(file).replace("/", "\\")
            document = json.loads(fcoectl("metrics", "--output", shown, "--json", script="two"))
            self.assertEqual(shown, document["output"])
            families = prometheus_client.parser.text_string_to_metric_families(file.read_text(encoding="utf-8"))
            self.assertEqual(without_times(prometheus(script="two")), without_times(samples(families)))
            self.assertEqual([file], list(Path(folder).iterdir()))

    @unittest.skipUnless(shutil.which("promtool"), "no promtool")
    def test_pass_promtool(self):
        subprocess.run(["promtool", "check", "metrics"], input=fcoectl("metrics", script="two"), check=True, capture_output=True)
        subprocess.run(["promtool", "check", "rules", ALERTS], check=True, capture_output=True)


if __name__ == "__main__":
    RUN, AGENT = sys.argv[1:3], "Z:" + sys.argv[3].replace("/", "\\")
    unittest.main(argv=sys.argv[:1])
