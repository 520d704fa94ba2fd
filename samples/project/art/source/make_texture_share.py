#!/usr/bin/env python3
# Writes the shared sample texture and its team colour companion images (uncompressed 32-bit TGA):
# the texture, the primary, secondary, trim and dirt masks (in their alpha), and the badge and banner
# images with one marker pixel (red and blue 255) at the rectangle's corner. Run it in this folder,
# art/source: the exporter names a texture by its file name, and the pattern export looks for it
# by that name at the top of the source folder.
import struct

SIZE = 64


def write_tga(name, width, height, pixel):
    header = struct.pack("<BBBHHBHHHHBB", 0, 0, 2, 0, 0, 0, 0, 0, width, height, 32, 0x28)
    body = bytearray()
    for y in range(height):
        for x in range(width):
            b, g, r, a = pixel(x, y)
            body += bytes((b, g, r, a))
    with open(name, "wb") as out:
        out.write(header + bytes(body))


def grey(alpha):
    return lambda x, y: (128, 128, 128, alpha(x, y))


write_tga("texture_share_scout.tga", SIZE, SIZE, lambda x, y: (40 + 3 * x, 90 + y, 160, 255 if y < 56 else 128))
write_tga("texture_share_scout_default_primary.tga", SIZE, SIZE, grey(lambda x, y: 255 if x < 32 else 0))
write_tga("texture_share_scout_default_secondary.tga", SIZE, SIZE, grey(lambda x, y: 255 if x >= 32 and y < 48 else 0))
write_tga("texture_share_scout_default_trim.tga", SIZE, SIZE,
          grey(lambda x, y: 255 if x < 4 or y < 4 or x >= SIZE - 4 or y >= SIZE - 4 else 0))
write_tga("texture_share_scout_default_dirt.tga", SIZE, SIZE, lambda x, y: (60, 70, 80, (x * 7 + y * 13) % 256))
# The badge goes at (8, 16), the banner at (24, 8); their images are larger than the rectangles.
write_tga("texture_share_scout_default_badge.tga", 96, 96,
          lambda x, y: (255, 0, 255, 255) if (x, y) == (8, 16) else (0, 0, 0, 255))
write_tga("texture_share_scout_default_banner.tga", 96, 128,
          lambda x, y: (255, 128, 255, 255) if (x, y) == (24, 8) else (0, 0, 0, 255))
