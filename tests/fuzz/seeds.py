#!/usr/bin/env python3
"""Makes the first inputs of fuzz_scsi from the recorded responses in tests/data/scsi.

    tests/fuzz/seeds.py        writes tests/fuzz/corpus/scsi/recorded-*

An input is read from both ends: bytes of records and texts from its front, decisions from its back.
"""
from pathlib import Path

HERE = Path(__file__).resolve().parent
RECORDED = HERE.parent / "data" / "scsi"
CORPUS = HERE / "corpus" / "scsi"
UNITS = 3
OK, CHECK_CONDITION = 0, 6  # places in DrawnLibrary::DrawStatus


def response(name: str) -> bytes:
    lines = (RECORDED / f"{name}.hex").read_text().splitlines()
    return bytes.fromhex(" ".join(line for line in lines if not line.startswith("#")))


class Input:
    def __init__(self):
        self.front, self.back = b"", b""

    def decide(self, *decisions: int):
        self.back = bytes(reversed(decisions)) + self.back

    def answer(self, status: int, data: bytes):
        self.decide(status)
        self.text(data)
        self.text(b"")  # sense data

    def text(self, data: bytes):
        self.decide(*len(data).to_bytes(2, "big"))
        self.front += data


def seed(unit: str, capacity: str, attentions: int) -> bytes:
    seed = Input()
    seed.decide(0, 0, 0, 0, 0, 0)  # log, code page, four bytes of ticks
    seed.answer(OK, response(f"vpd80-{unit}"))
    seed.answer(OK, response(f"inquiry-{unit}"))
    for _ in range(UNITS):
        for _ in range(attentions):
            seed.answer(CHECK_CONDITION, b"")
            seed.decide(0xF0, 0, 0, 1, 4, 0xF0, 0, 0, 1, 4)  # both sizes written back: 260
        seed.answer(OK, response(f"{capacity}-{unit}"))
        seed.decide(0, 0)
    # The readers by themselves: the capacity's block length, bytes 8 to 11.
    seed.decide(32)
    seed.front += response(f"capacity16-{unit}")
    seed.decide(11 + 2, 4 + 2, 1)
    return seed.front + seed.back


for unit in ("512", "4096", "large"):
    for attentions, capacity in enumerate(("capacity10", "capacity16")):
        CORPUS.mkdir(parents=True, exist_ok=True)
        (CORPUS / f"recorded-{capacity}-{unit}").write_bytes(seed(unit, capacity, attentions))
