#!/usr/bin/env python3

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

"""Writes the response reader fuzzer's seeds from the platform tests' reply rows.

    fuzz/seed-response-reader.py [REPLIES_DIR] [CORPUS_DIR]

Each row's wire bytes become one seed, behind a first byte that has the fuzzer cut them into pieces
of four bytes and read the body twenty-eight bytes at a time. Rows of more than 64 KiB (the caps)
are left out: the fuzzer finds the caps' edges from the length fields, not from megabytes of input.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
MAX_SEED_BYTES = 64 * 1024
FIRST_BYTE = 0x33  # pieces of 1 + 3 bytes, reads of 1 + 3 * 9 bytes, not a HEAD request


def decode(text: str) -> bytes:
    """The reply files' escapes: \\r \\n \\t \\\\ \\xHH, and "%repeat N TEXT"."""
    repeat = re.match(r"%repeat (\d+) (.*)", text)
    if repeat:
        return decode(repeat.group(2)) * int(repeat.group(1))
    out, i = bytearray(), 0
    while i < len(text):
        if text[i] != "\\":
            out += text[i].encode("latin-1")
            i += 1
            continue
        escape = text[i + 1]
        if escape == "x":
            out.append(int(text[i + 2:i + 4], 16))
            i += 4
            continue
        out += {"r": b"\r", "n": b"\n", "t": b"\t"}.get(escape, escape.encode("latin-1"))
        i += 2
    return bytes(out)


def wire_of(path: pathlib.Path) -> bytes:
    lines = path.read_text(encoding="latin-1").split("\n")
    body = lines[lines.index("--") + 1:]
    return b"".join(decode(line) for line in body if line and line not in ("%close", "%reset"))


def main() -> int:
    replies = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else ROOT / "tests/platform/replies"
    corpus = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else ROOT / "fuzz/corpus/response_reader_fuzzer"
    corpus.mkdir(parents=True, exist_ok=True)
    written = 0
    for path in sorted(replies.glob("*.http")):
        wire = wire_of(path)
        if len(wire) <= MAX_SEED_BYTES:
            (corpus / path.stem).write_bytes(bytes([FIRST_BYTE]) + wire)
            written += 1
    print(f"{written} seeds in {corpus}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
