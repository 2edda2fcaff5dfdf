# SPDX-License-Identifier: MIT
"""Pixels of the screen, and how they are written as PNG."""
import struct
import zlib


class Picture:
    def __init__(self, width, height, bgrx):
        """bgrx: four bytes a pixel, rows from the top, as a true-colour X server gives them."""
        self.width = width
        self.height = height
        self._data = bgrx
        assert len(bgrx) == width * height * 4, (width, height, len(bgrx))

    def __eq__(self, other):
        return (self.width, self.height, self._data) == (other.width, other.height, other._data)

    def pixel(self, x, y):
        """(red, green, blue)."""
        at = (y * self.width + x) * 4
        blue, green, red = self._data[at: at + 3]
        return red, green, blue

    def row(self, y):
        return [self.pixel(x, y) for x in range(self.width)]

    def column(self, x):
        return [self.pixel(x, y) for y in range(self.height)]

    def cut(self, left, top, right, bottom):
        rows = (self._data[(y * self.width + left) * 4: (y * self.width + right) * 4] for y in range(top, bottom))
        return Picture(right - left, bottom - top, b"".join(rows))

    def colours(self):
        """Each colour and how many pixels have it."""
        counts = {}
        for at in range(0, len(self._data), 4):
            key = self._data[at: at + 3]
            counts[key] = counts.get(key, 0) + 1
        return {(key[2], key[1], key[0]): count for key, count in counts.items()}

    def differing(self, other):
        """How many pixels differ."""
        assert (self.width, self.height) == (other.width, other.height)
        return sum(self._data[at: at + 3] != other._data[at: at + 3] for at in range(0, len(self._data), 4))

    def save_png(self, path):
        rows = bytearray()
        for y in range(self.height):
            line = self._data[y * self.width * 4: (y + 1) * self.width * 4]
            rgb = bytearray(self.width * 3)
            rgb[0::3], rgb[1::3], rgb[2::3] = line[2::4], line[1::4], line[0::4]
            rows += b"\0" + rgb

        def chunk(kind, data):
            return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

        with open(path, "wb") as out:
            out.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">2I5B", self.width, self.height, 8, 2, 0, 0, 0))
                      + chunk(b"IDAT", zlib.compress(bytes(rows), 9)) + chunk(b"IEND", b""))
