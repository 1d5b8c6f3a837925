#!/usr/bin/env python3
"""Looks at pages that `fcoectl report` wrote in a real browser, as their readers do. Only in ./fcoe test --full.

usage: page_test.py WINE_RUN FCOECTL FAKE_AGENT [--picture FOLDER]

At 1280 and at 400 pixels, light and dark: nothing on the browser's console, a box for every object of the data inside the page,
no box over another, no text cut off, nothing wider than the window, and enough contrast of every text. --picture leaves a
picture of each.
"""
import argparse
import itertools
import json
import os
import subprocess
import sys
import tempfile
from collections import Counter
from pathlib import Path

# What the scripted agent does for each page; the exit code that tells it.
PAGES = {"healthy": ("two", 0), "names": ("two foreign", 0), "unread": ("two unread", 1), "targets": ("two false:targets", 1),
         "none": ("none", 0), "refusing": ("null", 4)}
WIDTHS = (1280, 400)
SCHEMES = ("light", "dark")
CONTRAST = 4.5  # of WCAG 2, level AA

# What a reader sees: the boxes, the texts with what is behind them, and what does not fit.
LOOK = r"""
const seen = {boxes: [], texts: [], cut: [], width: document.documentElement.scrollWidth};
for (const box of document.querySelectorAll('.node')) {
  const r = box.getBoundingClientRect();
  seen.boxes.push({kind: box.dataset.kind, text: box.innerText, x: r.left, y: r.top + scrollY, w: r.width, h: r.height});
}
const behind = element => {
  for (let e = element; e; e = e.parentElement) {
    const color = getComputedStyle(e).backgroundColor;
    if (!/, 0\)$|transparent/.test(color)) return color;
  }
  return matchMedia('(prefers-color-scheme: dark)').matches ? 'rgb(0, 0, 0)' : 'rgb(255, 255, 255)';
};
const walker = document.createTreeWalker(document.querySelector('main'), NodeFilter.SHOW_TEXT);
while (walker.nextNode()) {
  const text = walker.currentNode.textContent.trim();
  const element = walker.currentNode.parentElement;
  if (!text || !element.offsetParent) continue;
  seen.texts.push({text, color: getComputedStyle(element).color, behind: behind(element)});
  const frame = element.closest('.node, .tile, .problem, td, th, span, summary, p, h1, h2');
  if (frame && frame.clientWidth && frame.scrollWidth > frame.clientWidth + 1) seen.cut.push(text);
}
return JSON.stringify(seen);
"""


def luminance(color: str) -> float:
    channels = [int(c) / 255 for c in color[color.index("(") + 1:color.index(")")].split(",")[:3]]
    red, green, blue = (c / 12.92 if c <= 0.03928 else ((c + 0.055) / 1.055) ** 2.4 for c in channels)
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue


def contrast(first: str, second: str) -> float:
    low, high = sorted((luminance(first), luminance(second)))
    return (high + 0.05) / (low + 0.05)


def objects(tree: dict | None) -> Counter:
    """How many boxes of each kind there must be."""
    counts: Counter = Counter()

    def count(kind: str, records: list, *below) -> None:
        counts[kind] += len(records)
        for record in records:
            for key, child, *rest in below[:1]:
                count(child, record[key], *below[1:])

    levels = (("fabrics", "fabric"), ("ports", "port"), ("targets", "target"), ("luns", "lun"))
    adapters = (tree or {}).get("adapters", [])
    count("adapter", adapters, *levels)
    for adapter in adapters:
        lost = adapter["without_parent"]
        count("port", lost["ports"], *levels[2:])
        count("target", lost["targets"], *levels[3:])
        count("lun", lost["luns"])
    return +counts


def overlap(a: dict, b: dict) -> bool:
    return (a["x"] < b["x"] + b["w"] and b["x"] < a["x"] + a["w"] and a["y"] < b["y"] + b["h"] and b["y"] < a["y"] + a["h"])


def findings(browser, page: Path, width: int, scheme: str, picture: Path | None) -> list[str]:
    browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                            {"width": width, "height": 900, "deviceScaleFactor": 1, "mobile": False})
    browser.execute_cdp_cmd("Emulation.setEmulatedMedia",
                            {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
    browser.get(page.resolve().as_uri())
    found = [f"the console says {entry['message']}" for entry in browser.get_log("browser")]
    data = json.loads(browser.find_element("id", "data").get_attribute("textContent"))
    seen = json.loads(browser.execute_script(LOOK))
    drawn = Counter(box["kind"] for box in seen["boxes"] if box["kind"])
    if drawn != objects(data["tree"]):
        found.append(f"drawn are {dict(drawn)}, there are {dict(objects(data['tree']))}")
    if not drawn and data["tree"] and data["tree"]["adapters"]:
        found.append("nothing is drawn")
    found += [f"the box {box['text']!r} cannot be seen" for box in seen["boxes"] if box["w"] < 40 or box["h"] < 15]
    found += [f"the box {box['text']!r} is outside" for box in seen["boxes"] if box["x"] < 0 or box["x"] + box["w"] > width]
    found += [f"{a['text']!r} lies over {b['text']!r}" for a, b in itertools.combinations(seen["boxes"], 2) if overlap(a, b)]
    if seen["width"] > width:
        found.append(f"the page is {seen['width']} pixels wide")
    found += [f"{text!r} is cut off" for text in seen["cut"]]
    for text in seen["texts"]:
        if (ratio := contrast(text["color"], text["behind"])) < CONTRAST:
            found.append(f"{text['text']!r} has a contrast of {ratio:.1f}, {text['color']} on {text['behind']}")
    if picture:
        height = browser.execute_script("return document.documentElement.scrollHeight")
        browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
        browser.save_screenshot(str(picture / f"{page.stem}-{width}-{scheme}.png"))
    return found


def open_browser():
    from selenium import webdriver  # one of the large packages that only --full installs
    from selenium.webdriver.chrome.options import Options
    from selenium.webdriver.chrome.service import Service
    options = Options()
    options.binary_location = "/usr/bin/chromium"
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--hide-scrollbars", "--disable-dev-shm-usage"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


def write_page(run: list[str], agent: Path, name: str, folder: Path) -> Path:
    shown = lambda path: "Z:" + str(path).replace("/", "\\")
    script, code = PAGES[name]
    page = folder / f"{name}.html"
    done = subprocess.run([*run, "report", shown(page), "--agent", shown(agent)], capture_output=True, text=True,
                          env=os.environ | {"FAKE_AGENT": script})
    if done.returncode != code:
        sys.exit(f"{name}: exit code {done.returncode}, not {code}\n{done.stderr}")
    return page


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("run", nargs=2, metavar="WINE_RUN FCOECTL")
    parser.add_argument("agent", type=Path, metavar="FAKE_AGENT")
    parser.add_argument("--picture", type=Path)
    options = parser.parse_args()
    if options.picture:
        options.picture.mkdir(parents=True, exist_ok=True)
    failed = 0
    with tempfile.TemporaryDirectory() as folder:
        pages = [write_page(options.run, options.agent, name, Path(folder)) for name in PAGES]
        browser = open_browser()
        try:
            for page, width, scheme in itertools.product(pages, WIDTHS, SCHEMES):
                found = findings(browser, page, width, scheme, options.picture)
                print(f"{page.name} at {width} pixels, {scheme}: {'good' if not found else ''}")
                print("".join(f"  {finding}\n" for finding in found[:20]), end="", flush=True)
                failed += len(found)
        finally:
            browser.quit()
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
