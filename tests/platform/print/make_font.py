#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes a small TrueType font to standard output: a box for each letter given, as LETTER=ADVANCE in thousandths of the
letters' size, in the order of the letters, such as i=277 m=831."""
import struct
import sys

letters = [(ord(word[0]), int(word[2:])) for word in sys.argv[1:]]
advances = [500] + [advance for _, advance in letters]
ascent, descent, top = 800, -200, 700


def box(width):
    """One closed outline of four points, each moved to by words, and no instructions."""
    points = [(50, 0), (0, top), (width - 100, 0), (0, -top)]
    return (struct.pack(">hhhhh", 1, 50, 0, width - 50, top) + struct.pack(">HH", 3, 0) + bytes([1] * 4) +
            b"".join(struct.pack(">h", x) for x, _ in points) + b"".join(struct.pack(">h", y) for _, y in points))


def character_map():
    """Format 4: a segment for each letter, and the one that ends all."""
    ends = [code for code, _ in letters] + [0xFFFF]
    deltas = [(glyph + 1 - code) & 0xFFFF for glyph, (code, _) in enumerate(letters)] + [1]
    count = len(ends)
    power = count.bit_length() - 1
    words = [0, count * 2, 2 << power, power, count * 2 - (2 << power), *ends, 0, *ends, *deltas, *[0] * count]
    body = struct.pack(f">{len(words)}H", *words)
    return struct.pack(">HHHHI", 0, 1, 3, 1, 12) + struct.pack(">HH", 4, 4 + len(body)) + body


def names():
    texts = [(1, "Boxes"), (2, "Regular"), (4, "Boxes"), (6, "Boxes")]
    strings, records = b"", b""
    for kind, text in texts:
        data = text.encode("utf-16-be")
        records += struct.pack(">HHHHHH", 3, 1, 0x409, kind, len(data), len(strings))
        strings += data
    return struct.pack(">HHH", 0, len(texts), 6 + len(records)) + records + strings


outlines = [data + bytes(-len(data) % 4) for data in map(box, advances)]
offsets = [sum(map(len, outlines[:i])) // 2 for i in range(len(outlines) + 1)]
widest = max(advances)
tables = {
    b"OS/2": struct.pack(">HhHHH10hh10s4I4sHHHhhhHHIIhhHHH", 4, 600, 400, 5, 0, 650, 600, 0, 75, 650, 600, 0, 350, 50, 300,
                         0, bytes(10), 1, 0, 0, 0, b"none", 64, letters[0][0], letters[-1][0], ascent, descent, 0,
                         ascent, -descent, 1, 0, 500, top, 0, 32, 1),
    b"cmap": character_map(),
    b"glyf": b"".join(outlines),
    b"head": struct.pack(">IIIIHHQQhhhhHHhhh", 0x10000, 0x10000, 0, 0x5F0F3CF5, 3, 1000, 0, 0, 0, 0, widest, top, 0, 8, 2,
                         0, 0),
    b"hhea": struct.pack(">IhhhHhhhhhh8xhH", 0x10000, ascent, descent, 0, widest, 50, 50, widest - 50, 1, 0, 0, 0,
                         len(advances)),
    b"hmtx": b"".join(struct.pack(">Hh", advance, 50) for advance in advances),
    b"loca": struct.pack(f">{len(offsets)}H", *offsets),
    b"maxp": struct.pack(">I14H", 0x10000, len(advances), 4, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0),
    b"name": names(),
    b"post": struct.pack(">IIhhIIIII", 0x30000, 0, -100, 50, 0, 0, 0, 0, 0),
}
offset = 12 + 16 * len(tables)
directory, body = struct.pack(">IHHHH", 0x10000, len(tables), 128, 3, len(tables) * 16 - 128), b""
for tag, data in sorted(tables.items()):
    padded = data + bytes(-len(data) % 4)
    total = sum(struct.unpack(f">{len(padded) // 4}I", padded)) & 0xFFFFFFFF
    directory += tag + struct.pack(">III", total, offset + len(body), len(data))
    body += padded
sys.stdout.buffer.write(directory + body)
