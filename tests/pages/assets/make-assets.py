#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the fonts and pictures that the pages use. Needs python3-fonttools; run in this folder.

The fonts are drawn here, from a 5 by 7 dot matrix, so that a page's look depends on no installed font.
"""
import struct
import zlib

from fontTools.fontBuilder import FontBuilder
from fontTools.pens.ttGlyphPen import TTGlyphPen

DOTS = {
    "A": "01110 10001 10001 11111 10001 10001 10001", "B": "11110 10001 11110 10001 10001 10001 11110",
    "C": "01111 10000 10000 10000 10000 10000 01111", "D": "11110 10001 10001 10001 10001 10001 11110",
    "E": "11111 10000 11110 10000 10000 10000 11111", "F": "11111 10000 11110 10000 10000 10000 10000",
    "G": "01111 10000 10000 10011 10001 10001 01111", "H": "10001 10001 11111 10001 10001 10001 10001",
    "I": "01110 00100 00100 00100 00100 00100 01110", "J": "00111 00010 00010 00010 00010 10010 01100",
    "K": "10001 10010 11100 10100 10010 10001 10001", "L": "10000 10000 10000 10000 10000 10000 11111",
    "M": "10001 11011 10101 10101 10001 10001 10001", "N": "10001 11001 10101 10011 10001 10001 10001",
    "O": "01110 10001 10001 10001 10001 10001 01110", "P": "11110 10001 10001 11110 10000 10000 10000",
    "Q": "01110 10001 10001 10001 10101 10010 01101", "R": "11110 10001 10001 11110 10100 10010 10001",
    "S": "01111 10000 01110 00001 00001 00001 11110", "T": "11111 00100 00100 00100 00100 00100 00100",
    "U": "10001 10001 10001 10001 10001 10001 01110", "V": "10001 10001 10001 10001 10001 01010 00100",
    "W": "10001 10001 10001 10101 10101 11011 10001", "X": "10001 01010 00100 00100 00100 01010 10001",
    "Y": "10001 01010 00100 00100 00100 00100 00100", "Z": "11111 00001 00010 00100 01000 10000 11111",
    "0": "01110 10011 10101 10101 10101 11001 01110", "1": "00100 01100 00100 00100 00100 00100 01110",
    "2": "01110 10001 00001 00110 01000 10000 11111", "3": "11110 00001 00001 01110 00001 00001 11110",
    "4": "00010 00110 01010 10010 11111 00010 00010", "5": "11111 10000 11110 00001 00001 10001 01110",
    "6": "01110 10000 11110 10001 10001 10001 01110", "7": "11111 00001 00010 00100 01000 01000 01000",
    "8": "01110 10001 01110 10001 10001 10001 01110", "9": "01110 10001 10001 01111 00001 00001 01110",
    ".": "00000 00000 00000 00000 00000 00000 00100", ",": "00000 00000 00000 00000 00000 00100 01000",
    "-": "00000 00000 00000 11111 00000 00000 00000", ":": "00000 00100 00000 00000 00000 00100 00000",
    "!": "00100 00100 00100 00100 00100 00000 00100", "?": "01110 10001 00001 00110 00100 00000 00100",
    "%": "11001 11001 00010 00100 01000 10011 10011", "/": "00001 00001 00010 00100 01000 10000 10000",
}


def font(name, file, weight, dot, flavor=None):
    """dot is the side of a dot in units of a 100-unit grid: 100 touches its neighbours, less leaves gaps."""
    cmap, glyphs, widths = {}, {".notdef": TTGlyphPen(None).glyph()}, {".notdef": (600, 0)}
    cmap[32], glyphs["space"], widths["space"] = "space", TTGlyphPen(None).glyph(), (400, 0)
    for char, rows in DOTS.items():
        glyph = "u%04X" % ord(char)
        pen = TTGlyphPen(None)
        for row, line in enumerate(rows.split()):
            for column, on in enumerate(line):
                if on == "1":
                    x, y = 50 + column * 100, (6 - row) * 100
                    pen.moveTo((x, y))
                    pen.lineTo((x, y + dot))
                    pen.lineTo((x + dot, y + dot))
                    pen.lineTo((x + dot, y))
                    pen.closePath()
        glyphs[glyph], widths[glyph] = pen.glyph(), (600, 50)
        cmap[ord(char)] = glyph
        if char.isalpha():
            cmap[ord(char.lower())] = glyph
    builder = FontBuilder(1000, isTTF=True)
    builder.setupGlyphOrder(list(glyphs))
    builder.setupCharacterMap(cmap)
    builder.setupGlyf(glyphs)
    builder.setupHorizontalMetrics(widths)
    builder.setupHorizontalHeader(ascent=800, descent=-200)
    builder.setupNameTable({"familyName": name, "styleName": "Regular", "psName": name.replace(" ", "")})
    builder.setupOS2(sTypoAscender=800, sTypoDescender=-200, usWinAscent=800, usWinDescent=200, usWeightClass=weight)
    builder.setupPost()
    builder.font["head"].created = builder.font["head"].modified = 3600000000
    builder.font.recalcTimestamp = False
    builder.font.flavor = flavor
    builder.font.save(file)


def png(file, width, height, pixel):
    """pixel(x, y) gives (red, green, blue, alpha), each 0 to 255."""
    rows = b"".join(b"\0" + b"".join(bytes(pixel(x, y)) for x in range(width)) for y in range(height))
    chunk = lambda kind, body: struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
    with open(file, "wb") as out:
        out.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)) +
                  chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


font("Dot Plain", "dot-plain.woff", 400, 100, "woff")
font("Dot Fine", "dot-fine.ttf", 300, 80)
png("tile.png", 16, 16, lambda x, y: (230, 236, 250, 255) if (x // 8 + y // 8) % 2 else (250, 246, 232, 255))
png("photo.png", 120, 80, lambda x, y: (40 + x, 90 + y, 200 - x // 2, 255))
png("badge.png", 32, 32, lambda x, y: (200, 60, 40, 255 if (x - 15.5) ** 2 + (y - 15.5) ** 2 < 230 else 0))
png("badge-2x.png", 64, 64, lambda x, y: (60, 120, 40, 255 if (x - 31.5) ** 2 + (y - 31.5) ** 2 < 920 else 0))
png("tall.png", 60, 90, lambda x, y: (220 - y, 80 + x, 120 + y, 255))
