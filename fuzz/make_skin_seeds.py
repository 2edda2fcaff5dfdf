#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the seeds of the archive and image fuzz targets: fuzz/make_skin_seeds.py

The seeds are committed; run it again only to change them.
"""
import io
import pathlib
import struct
import zipfile
import zlib

SEEDS = pathlib.Path(__file__).resolve().parent / "seeds"


def archive(names, method, comment=b""):
    out = io.BytesIO()
    with zipfile.ZipFile(out, "w", method) as made:
        for name in names:
            info = zipfile.ZipInfo(name)
            info.compress_type = method
            made.writestr(info, b'<skin version="2"/>' * 5)
        made.comment = comment
    return out.getvalue()


def gbk_archive():
    """As old programs make them: the name in GBK, and its UTF-8 form in an extra field."""
    name, data = "图.bmp".encode("gbk"), b"BM"
    utf8 = "图.bmp".encode()
    extra = struct.pack("<HHBL", 0x7075, 5 + len(utf8), 1, zlib.crc32(name)) + utf8
    sizes = struct.pack("<LLLHH", zlib.crc32(data), len(data), len(data), len(name), 0)
    local = b"PK\3\4" + struct.pack("<HHHL", 20, 0, 0, 0) + sizes + name + data
    central = (b"PK\1\2" + struct.pack("<HHHHL", 20, 20, 0, 0, 0) + sizes[:-2]
               + struct.pack("<HHHHLL", len(extra), 0, 0, 0, 0, 0) + name + extra)
    end = b"PK\5\6" + struct.pack("<HHHHLLH", 0, 0, 1, 1, len(central), len(local), 0)
    return local + central + end


def bmp(bits, data, compression=0, masks=b"", palette=b"", size=(5, 2), header=40):
    info = struct.pack("<LllHHLLllLL", header, *size, 1, bits, compression, 0, 0, 0, len(palette) // 4, 0) + masks
    info = info.ljust(header, b"\0") + palette
    return b"BM" + struct.pack("<LLL", 14 + len(info) + len(data), 0, 14 + len(info)) + info + data


def png(bits, kind, rows, chunks=(), interlaced=0, size=(5, 2)):
    def chunk(name, data):
        return struct.pack(">L", len(data)) + name + data + struct.pack(">L", zlib.crc32(name + data))

    packed = zlib.compress(b"".join(b"\0" + row for row in rows))
    header = struct.pack(">LLBBBBB", *size, bits, kind, 0, 0, interlaced)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + b"".join(chunk(*one) for one in chunks)
            + chunk(b"IDAT", packed) + chunk(b"IEND", b""))


def images():
    palette = bytes(range(64))
    yield "bmp1", bmp(1, b"\xA8\0\0\0\x50\0\0\0", palette=palette[:8])
    yield "bmp4", bmp(4, b"\x01\x23\x40\0" * 2, palette=palette)
    yield "bmp4_runs", bmp(4, b"\0\5\x43\x21\0\0\0\0\2\1\2\x23\0\1", 2, palette=palette)
    yield "bmp8_runs", bmp(8, b"\0\3\1\2\3\0\2\4\0\0\0\2\1\0\3\5\0\1", 1, palette=palette)
    yield "bmp16", bmp(16, bytes(range(24)))
    yield "bmp16_fields", bmp(16, bytes(range(24)), 3, struct.pack("<LLL", 0xF800, 0x7E0, 0x1F))
    yield "bmp24_down", bmp(24, bytes(range(32)), size=(5, -2))
    yield "bmp32_v5", bmp(32, bytes(range(40)), 3, struct.pack("<LLLL", 0xFF0000, 0xFF00, 0xFF, 0xFF000000),
                          header=124)
    yield "bmp_core", b"BM" + struct.pack("<LLLLHHHH", 58, 0, 26, 12, 5, 2, 1, 24) + bytes(32)
    yield "png_rgba", png(8, 6, [bytes(range(20))] * 2)
    yield "png_palette", png(2, 3, [b"\x1B\x00"] * 2, [(b"PLTE", palette[:12]), (b"tRNS", b"\0\x80")])
    yield "png_grey16", png(16, 0, [bytes(10)] * 2, [(b"tRNS", b"\0\0")])
    yield "png_interlaced", png(8, 0, [b"\1", b"\2", b"\3\4", b"\5", b"\6\7", b"\1\2\3\4\5"], interlaced=1)


def write(path, data):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(data)


def main():
    write(SEEDS / "zip/stored", archive(["Skin.xml", "a/b.bmp"], zipfile.ZIP_STORED, b"comment"))
    write(SEEDS / "zip/deflated", archive(["图/Skin.xml", "图/a.png"], zipfile.ZIP_DEFLATED))
    write(SEEDS / "zip/gbk", gbk_archive())
    for name, data in images():
        write(SEEDS / "image" / name, b"\0" + data)


if __name__ == "__main__":
    main()
