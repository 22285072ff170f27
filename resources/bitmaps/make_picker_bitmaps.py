#!/usr/bin/env python3
"""Draws the symbol-picker button's bitmaps: 9001 (normal, disabled) and 9002 (hover,
pressed, focused), 28 x 28 pixels: a small tree of a market and its symbols."""
import struct
import zlib
from pathlib import Path

SIZE = 28


def png(pixels):
    raw = b"".join(b"\x00" + bytes(c for px in row for c in px) for row in pixels)

    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)

    header = struct.pack(">IIBBBBB", SIZE, SIZE, 8, 6, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b"")


def draw(background, frame, ink):
    img = [[background for _ in range(SIZE)] for _ in range(SIZE)]

    def rect(x0, y0, x1, y1, colour):
        for y in range(y0, y1):
            for x in range(x0, x1):
                img[y][x] = colour

    # Frame.
    rect(0, 0, SIZE, 1, frame)
    rect(0, SIZE - 1, SIZE, SIZE, frame)
    rect(0, 0, 1, SIZE, frame)
    rect(SIZE - 1, 0, SIZE, SIZE, frame)
    # The market node and the tree's trunk.
    rect(5, 5, 11, 10, ink)
    rect(7, 10, 8, 22, ink)
    # Three symbols hanging off it.
    for y in (12, 16, 20):
        rect(8, y, 12, y + 1, ink)
        rect(13, y - 1, 23, y + 2, ink)
    return img


out = Path(__file__).resolve().parent
(out / "9001.png").write_bytes(png(draw((240, 240, 240, 255), (160, 160, 160, 255), (60, 90, 140, 255))))
(out / "9002.png").write_bytes(png(draw((205, 225, 250, 255), (40, 100, 200, 255), (20, 60, 160, 255))))
