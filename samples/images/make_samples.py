#!/usr/bin/env python3
"""Writes the small sample images of this folder, byte by byte, so they can be rebuilt at will.

    walker_diffuse.tga  64x32, 32-bit, a gradient with an alpha ramp
    walker_team.bmp     16x16, 8-bit paletted, four team colour stripes
    walker_spec.bw      32x32, SGI luminance, a checker board
    walker_normal.dds   64x64 DXT1 with the full mip chain (7 levels)

The .jpg and .img samples are made from these by `tq7z image convert` (see README.txt).
"""
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))


def write(name, data):
    with open(os.path.join(HERE, name), "wb") as f:
        f.write(data)


def tga():
    w, h = 64, 32
    header = bytes([0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0]) + struct.pack("<HHBB", w, h, 32, 0)
    pixels = bytearray()
    for y in range(h):
        for x in range(w):
            pixels += bytes([x * 4 % 256, y * 8 % 256, (x + y) * 2 % 256, 255 - x * 2])
    write("walker_diffuse.tga", header + bytes(pixels))


def bmp():
    w, h = 16, 16
    palette = bytearray(256 * 4)
    team = [(0, 0, 200), (200, 0, 0), (0, 180, 0), (0, 200, 220)]  # blue, green, red as stored
    for i, (b, g, r) in enumerate(team):
        palette[i * 4:i * 4 + 4] = bytes([b, g, r, 0])
    rows = bytearray()
    for y in range(h):
        rows += bytes([(x // 4) % 4 for x in range(w)])  # 16 bytes: already a multiple of 4
    offset = 54 + len(palette)
    header = b"BM" + struct.pack("<IHHI", offset + len(rows), 0, 0, offset)
    info = struct.pack("<IiiHHIIiiII", 40, w, h, 1, 8, 0, len(rows), 2835, 2835, 0, 0)
    write("walker_team.bmp", header + info + bytes(palette) + bytes(rows))


def bw():
    w, h = 32, 32
    header = bytearray(512)
    struct.pack_into(">HBBHHHHII", header, 0, 0x01DA, 0, 1, 2, w, h, 1, 0, 255)
    pixels = bytes(255 if ((x // 4) + (y // 4)) % 2 else 32 for y in range(h) for x in range(w))
    write("walker_spec.bw", bytes(header) + pixels)


def dds():
    side = 64
    levels = []
    level_side = side
    n = 0
    while True:
        blocks = max(1, level_side // 4) ** 2
        data = bytearray()
        for i in range(blocks):
            # Two 565 end colours and 16 two-bit indices: a slope across each block, the colours
            # shifting with the level so each level is told apart.
            c0 = ((31 - n * 4) << 11) | ((i * 3 % 64) << 5) | (n * 4)
            c1 = (n * 4 << 11) | (63 << 5) | 31
            data += struct.pack("<HHI", c0, c1, 0x1B1B1B1B ^ (i * 0x01010101 & 0xFFFFFFFF))
        levels.append(bytes(data))
        n += 1
        if level_side == 1:
            break
        level_side //= 2
    flags = 0x1007 | 0x20000 | 0x80000
    header = struct.pack("<7I", 124, flags, side, side, (side // 4) * (side // 4) * 8, 0, len(levels))
    header += bytes(44)
    header += struct.pack("<II4s5I", 32, 0x4, b"DXT1", 0, 0, 0, 0, 0)
    header += struct.pack("<5I", 0x1000 | 0x400000 | 0x8, 0, 0, 0, 0)
    assert len(header) == 124
    write("walker_normal.dds", b"DDS " + header + b"".join(levels))


if __name__ == "__main__":
    tga()
    bmp()
    bw()
    dds()
