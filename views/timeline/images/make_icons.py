#!/usr/bin/env python3
"""Draws the built-in icons as PNG files at the scales 1, 2 and 3, next to this script.

An icon is a list of strokes on a grid of 24 x 24: ("add" or "cut", radius, points of a line). Icons are black on
transparent; the cells tint them.
"""

import math
import pathlib
import struct
import zlib

GRID = 24.0
SIZE = 16  # points
SAMPLES = 4  # a side of each pixel

BELL = [
    ("add", 5.2, [(12, 9.6), (12, 11.5)]),
    ("add", 3.2, [(9.6, 13.0), (14.4, 13.0)]),
    ("add", 1.25, [(5.4, 17.0), (18.6, 17.0)]),
    ("add", 1.2, [(7.2, 15.6), (16.8, 15.6)]),
    ("add", 1.5, [(12, 3.9), (12, 5.0)]),
    ("add", 2.0, [(12, 20.3), (12, 20.5)]),
    ("cut", 0.6, [(9.0, 18.75), (15.0, 18.75)]),
]

ICONS = {
    # A person who walks, two lines of motion behind.
    "scrubberEventTypeMotion": [
        ("add", 2.3, [(14.6, 3.6), (14.6, 3.6)]),
        ("add", 1.9, [(13.4, 8.6), (11.9, 13.2)]),
        ("add", 1.15, [(13.0, 8.0), (9.6, 9.8), (8.6, 12.6)]),
        ("add", 1.15, [(13.9, 8.6), (16.2, 11.2), (19.0, 11.9)]),
        ("add", 1.3, [(12.2, 13.6), (15.0, 17.0), (15.8, 21.6)]),
        ("add", 1.3, [(11.6, 13.8), (10.2, 18.0), (7.0, 21.6)]),
        ("add", 0.8, [(2.2, 8.0), (5.6, 8.0)]),
        ("add", 0.8, [(1.4, 13.0), (4.6, 13.0)]),
    ],
    # A bell, struck through.
    "scrubberEventTypeDoorbellMissed": BELL
    + [("cut", 1.9, [(3.6, 4.6), (20.4, 21.0)]), ("add", 1.0, [(3.4, 3.4), (20.8, 20.8)])],
}


def distance(x, y, a, b):
    """From a point to a line between two points."""
    dx, dy = b[0] - a[0], b[1] - a[1]
    length = dx * dx + dy * dy
    t = 0 if length == 0 else max(0.0, min(1.0, ((x - a[0]) * dx + (y - a[1]) * dy) / length))
    return math.hypot(x - a[0] - t * dx, y - a[1] - t * dy)


def inside(strokes, x, y):
    filled = False
    for kind, radius, points in strokes:
        if any(distance(x, y, a, b) <= radius for a, b in zip(points, points[1:])):
            filled = kind == "add"
    return filled


def coverage(strokes, column, row, side):
    hits = 0
    for i in range(SAMPLES):
        for j in range(SAMPLES):
            x = (column + (i + 0.5) / SAMPLES) * GRID / side
            y = (row + (j + 0.5) / SAMPLES) * GRID / side
            hits += inside(strokes, x, y)
    return round(255 * hits / SAMPLES**2)


def chunk(kind, data):
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))


def png(strokes, side):
    rows = b"".join(
        b"\0" + b"".join(bytes((0, 0, 0, coverage(strokes, column, row, side))) for column in range(side))
        for row in range(side)
    )
    header = struct.pack(">IIBBBBB", side, side, 8, 6, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b"")


def main():
    folder = pathlib.Path(__file__).resolve().parent
    for name, strokes in ICONS.items():
        for scale in (1, 2, 3):
            suffix = f"@{scale}x" if scale > 1 else ""
            (folder / f"{name}{suffix}.png").write_bytes(png(strokes, SIZE * scale))


if __name__ == "__main__":
    main()
