#!/usr/bin/env python3
"""Writes samples/chunks/walker.chunky: a small chunk file with nested folders, names and data.

The file is made byte by byte, independently of the C++ writer, so that reading it back tests the
reader against the format rather than against itself. Run it again to reproduce the sample.
"""
import os
import struct

MAGIC = b"Vardo Chunky\r\n\x1a\x00"


def chunk(kind, cid, version, payload, name=None):
    """A chunk: type and id as text, version, payload size, name length (with NUL), name, payload."""
    name_bytes = name.encode("ascii") + b"\x00" if name else b""
    header = kind.encode("ascii") + cid.encode("ascii")
    header += struct.pack("<III", version, len(payload), len(name_bytes))
    return header + name_bytes + payload


def folder(cid, version, children, name=None):
    return chunk("FOLD", cid, version, b"".join(children), name)


def data(cid, version, payload, name=None):
    return chunk("DATA", cid, version, payload, name)


def bone(name, parent, x, y, z):
    return data("BONE", 1, struct.pack("<i3f", parent, x, y, z), name)


def main():
    vertices = b"".join(struct.pack("<3f", *v) for v in [(0, 0, 0), (1, 0, 0), (0, 1, 0), (1, 1, 0)])
    faces = struct.pack("<6H", 0, 1, 2, 2, 1, 3)
    comment = b"made by scripts/make_sample_chunks.py"
    tree = folder("RSGM", 1, [
        data("INFO", 2, struct.pack("<II", 2, 4)),
        folder("SKEL", 1, [bone("root", -1, 0.0, 0.0, 0.0), bone("hip", 0, 0.0, 1.0, 0.0)], "skeleton"),
        folder("MESH", 3, [data("VERT", 1, vertices), data("FACE", 1, faces)], "body"),
        folder("ANIM", 1, [], "walk"),
    ], "walker")
    body = MAGIC + struct.pack("<II", 1, 1) + tree + data("CMNT", 1, comment, "comment")
    out = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "samples", "chunks", "walker.chunky")
    with open(out, "wb") as f:
        f.write(body)


if __name__ == "__main__":
    main()
