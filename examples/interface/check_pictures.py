#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks the pictures of docs/interface.md: check_pictures.py PROGRAM SOURCE_DIR.

The program draws them all anew: the page must show just these, and those in docs/pictures must be of the same sizes. What they
look like depends on the machine's fonts; a picture of one colour shows nothing.
"""
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import zlib

program, top = sys.argv[1], pathlib.Path(sys.argv[2])
faults = []


def size(png):
    return struct.unpack(">II", png[16:24])


def is_of_one_colour(png):
    data, place = b"", 8
    while place < len(png):
        length, kind = struct.unpack(">I4s", png[place:place + 8])
        if kind == b"IDAT":
            data += png[place + 8:place + 8 + length]
        place += length + 12
    return len(set(zlib.decompress(data))) < 8


with tempfile.TemporaryDirectory() as folder:
    subprocess.run([program, folder], check=True)
    drawn = {file.name: file.read_bytes() for file in pathlib.Path(folder).iterdir()}
kept = {file.name: file.read_bytes() for file in (top / "docs/pictures").glob("*.png")}
shown = set(re.findall(r"\(pictures/([^)]+)\)", (top / "docs/interface.md").read_text()))
for name in sorted(drawn.keys() | kept.keys() | shown):
    for where, names in (("program draws", drawn), ("folder docs/pictures has", kept), ("page shows", shown)):
        if name not in names:
            faults.append(f"no {where} {name}")
    if name in drawn and is_of_one_colour(drawn[name]):
        faults.append(f"{name} shows nothing")
    if name in drawn and name in kept and size(drawn[name]) != size(kept[name]):
        faults.append(f"{name} is of {size(kept[name])} pixels and should be of {size(drawn[name])}")
for fault in faults:
    print(fault)
print(f"{len(drawn)} pictures, {len(faults)} faults")
sys.exit(bool(faults) or not drawn)
