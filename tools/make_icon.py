#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws the program's icon: make_icon.py OUT.ico

A rounded teal square with a bell-like drop whose inside holds a wave. Every size is drawn on its own from signed
distances, so that small ones stay sharp. Sizes up to 64 are stored as bitmaps, 256 as PNG.
"""
import math
import struct
import sys
import zlib

SIZES = (16, 20, 24, 32, 40, 48, 64, 256)
TOP, BOTTOM = (38, 166, 148), (17, 94, 110)
LIGHT, DARK = (250, 252, 252), (20, 84, 98)


def rounded_box(x, y, half, radius):
    dx, dy = abs(x) - half + radius, abs(y) - half + radius
    return math.hypot(max(dx, 0), max(dy, 0)) + min(max(dx, dy), 0) - radius


def capsule(x, y, x0, y0, x1, y1, radius):
    ax, ay, bx, by = x - x0, y - y0, x1 - x0, y1 - y0
    t = max(0.0, min(1.0, (ax * bx + ay * by) / (bx * bx + by * by)))
    return math.hypot(ax - bx * t, ay - by * t) - radius


def drop(x, y):
    """A circle with a point on top."""
    circle = math.hypot(x, y - 0.14) - 0.46
    # The tangents from the tip touch the circle where sin(angle) = radius / distance.
    tip = y + 0.78
    angle = math.asin(0.46 / 0.92)
    cone = abs(x) * math.cos(angle) - tip * math.sin(angle)
    inside_cone = max(cone, tip - 0.92 * math.cos(angle) ** 2)
    return min(circle, max(inside_cone, -tip))


BARS = ((-0.26, 0.07), (-0.09, 0.2), (0.09, 0.27), (0.26, 0.12))


def mix(a, b, t):
    return tuple(p + (q - p) * t for p, q in zip(a, b))


def pixel(x, y, unit):
    """Colour (0 to 255) and opacity (0 to 1) at a point of -1 to 1; unit is the width of a pixel."""
    def cover(distance):
        return max(0.0, min(1.0, 0.5 - distance / unit))

    alpha = cover(rounded_box(x, y, 0.96, 0.36))
    color = mix(TOP, BOTTOM, (y + 1) / 2)
    color = mix(color, LIGHT, cover(drop(x, y)))
    for bar_x, half in BARS:
        color = mix(color, DARK, cover(capsule(x, y, bar_x, 0.14 - half, bar_x, 0.14 + half, 0.055)))
    return color, alpha


def draw(size):
    """Rows from the top, each pixel (r, g, b, a)."""
    unit = 2.0 / size
    rows = []
    for row in range(size):
        line = []
        for column in range(size):
            color, alpha = pixel((column + 0.5) * unit - 1, (row + 0.5) * unit - 1, unit)
            line.append(tuple(int(c + 0.5) for c in color) + (int(alpha * 255 + 0.5),))
        rows.append(line)
    return rows


def bitmap(size, rows):
    header = struct.pack("<IiiHHIIiiII", 40, size, size * 2, 1, 32, 0, 0, 0, 0, 0, 0)
    pixels = b"".join(bytes((b, g, r, a)) for line in reversed(rows) for r, g, b, a in line)
    mask = bytes((size + 31) // 32 * 4 * size)
    return header + pixels + mask


def png(size, rows):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    raw = b"".join(b"\0" + bytes(c for p in line for c in p) for line in rows)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b""))


def main():
    images = [(png if size > 64 else bitmap)(size, draw(size)) for size in SIZES]
    offset = 6 + 16 * len(images)
    directory = struct.pack("<HHH", 0, 1, len(images))
    for size, image in zip(SIZES, images):
        directory += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    with open(sys.argv[1], "wb") as out:
        out.write(directory + b"".join(images))


main()
