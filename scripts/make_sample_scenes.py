#!/usr/bin/env python3
"""Writes the sample scenes of the scout, a small character, into the sample project's source tree,
so the geometry can be rebuilt at will:

    art/source/units/scout/reference/ref.json  the reference scene: meshes, skeleton, markers, cameras
    art/source/units/scout/walk.json            the walk cycle, frames 0 to 30
    art/source/units/scout/idle.json            the idle loop, frames 0 to 20
    art/source/units/scout/textures/*.tga       the bitmaps of the two sub-materials

The scout has five box bones (Pelvis, Spine, Head, LeftThigh, RightThigh), a body mesh skinned on
four of them, a helmet that rides rigidly on the head, a Multi/Sub-Object material of two bitmap
materials, a marker on the spine, and a free and a target camera. All three scenes hold the same
nodes, as the animation files find bones, meshes and shaders by name.
"""
import json
import math
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))
SCOUT = os.path.join(HERE, "..", "samples", "project", "art", "source", "units", "scout")


# Row-vector 4x3 matrices: rows 0 to 2 the axes, row 3 the translation; a * b applies a first.
def mul(a, b):
    rows = []
    for i in range(3):
        rows.append([sum(a[i][k] * b[k][j] for k in range(3)) for j in range(3)])
    rows.append([sum(a[3][k] * b[k][j] for k in range(3)) + b[3][j] for j in range(3)])
    return rows


def translate(x, y, z):
    return [[1, 0, 0], [0, 1, 0], [0, 0, 1], [x, y, z]]


def rotate_x(a):
    c, s = math.cos(a), math.sin(a)
    return [[1, 0, 0], [0, c, s], [0, -s, c], [0, 0, 0]]


def rotate_z(a):
    c, s = math.cos(a), math.sin(a)
    return [[c, s, 0], [-s, c, 0], [0, 0, 1], [0, 0, 0]]


def look_at(position, target):
    """A camera's transform: it looks down its own negative z axis, with z up in the world."""
    def sub(a, b):
        return [a[i] - b[i] for i in range(3)]

    def cross(a, b):
        return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]]

    def norm(a):
        length = math.sqrt(sum(v * v for v in a))
        return [v / length for v in a]

    z = norm(sub(position, target))
    x = norm(cross([0, 0, 1], z))
    y = cross(z, x)
    return [x, y, z, list(position)]


def rounded(m):
    return [[round(v, 6) + 0.0 for v in row] for row in m]


# The skeleton: name, parent, local transform at a frame of an animation.
def bone_locals(anim, frame, count):
    t = frame / max(count - 1, 1)
    swing = bob = twist = nod = 0.0
    if anim == "walk":
        swing = math.radians(30) * math.sin(2 * math.pi * t)
        bob = 0.4 * abs(math.sin(2 * math.pi * t))
        twist = math.radians(8) * math.sin(2 * math.pi * t)
    elif anim == "idle":
        twist = math.radians(4) * math.sin(2 * math.pi * t)
        nod = math.radians(6) * math.sin(2 * math.pi * t)
    return [
        ("Pelvis", None, translate(0, 0, 10 + bob)),
        ("Spine", "Pelvis", mul(rotate_z(twist), translate(0, 0, 5))),
        ("Head", "Spine", mul(rotate_x(nod), translate(0, 0, 5))),
        ("LeftThigh", "Pelvis", mul(rotate_x(swing), translate(-1.5, 0, 0))),
        ("RightThigh", "Pelvis", mul(rotate_x(-swing), translate(1.5, 0, 0))),
    ]


def bone_worlds(anim, frame, count):
    world = {}
    for name, parent, local in bone_locals(anim, frame, count):
        world[name] = mul(local, world[parent]) if parent else local
    return world


def body_mesh():
    """A square column from the feet to the chest: five rings of four corners, sides in four
    smoothing groups with material 0, caps in group 16 with material 1."""
    heights = [0.0, 5.0, 10.0, 15.0, 18.0]
    corners = [(-3, -1.5), (3, -1.5), (3, 1.5), (-3, 1.5)]
    vertices = [[x, y, z] for z in heights for (x, y) in corners]
    faces, tvfaces, tverts = [], [], []

    def tv(u, v):
        tverts.append([round(u, 6), round(v, 6)])
        return len(tverts) - 1

    for ring in range(len(heights) - 1):
        for side in range(4):
            a = ring * 4 + side
            b = ring * 4 + (side + 1) % 4
            c, d = a + 4, b + 4
            u0, u1 = side / 4, (side + 1) / 4
            v0, v1 = heights[ring] / 18, heights[ring + 1] / 18
            group = 1 << side
            # Counter-clockwise seen from outside; the hidden edge is the quad's diagonal.
            faces.append({"v": [a, b, d], "smoothing": group, "materialId": 0, "edges": [True, True, False]})
            tvfaces.append([tv(u0, v0), tv(u1, v0), tv(u1, v1)])
            faces.append({"v": [d, c, a], "smoothing": group, "materialId": 0, "edges": [True, True, False]})
            tvfaces.append([tv(u1, v1), tv(u0, v1), tv(u0, v0)])
    top = 16
    for (a, b, c) in [(0, 2, 1), (0, 3, 2)]:
        faces.append({"v": [a, b, c], "smoothing": 16, "materialId": 1})
        tvfaces.append([tv(0, 0), tv(1, 1), tv(1, 0)])
    for (a, b, c) in [(top, top + 1, top + 2), (top, top + 2, top + 3)]:
        faces.append({"v": [a, b, c], "smoothing": 16, "materialId": 1})
        tvfaces.append([tv(0, 0), tv(1, 0), tv(1, 1)])
    return {"vertices": vertices, "faces": faces, "tverts": tverts, "tvFaces": tvfaces}


def body_weights(vertices):
    """Bones of the skin: 0 Pelvis, 1 Spine, 2 LeftThigh, 3 RightThigh."""
    points = []
    for x, _, z in vertices:
        thigh = 2 if x < 0 else 3
        if z < 6:
            points.append([[thigh, 1.0]])
        elif z < 11:
            points.append([[0, 0.75], [thigh, 0.25]])
        elif z < 16:
            points.append([[0, 0.5], [1, 0.5]])
        else:
            points.append([[1, 1.0]])
    return points


def helmet_mesh():
    """A small box on the head, from z 19 to 22, one smoothing group per side."""
    lo, hi = (-1.5, -1.5, 19.0), (1.5, 1.5, 22.0)
    vertices = [[(lo, hi)[i & 1][0], (lo, hi)[(i >> 1) & 1][1], (lo, hi)[(i >> 2) & 1][2]] for i in range(8)]
    quads = [(0, 2, 3, 1, 1), (4, 5, 7, 6, 2), (0, 1, 5, 4, 4), (2, 6, 7, 3, 8), (0, 4, 6, 2, 16), (1, 3, 7, 5, 32)]
    faces = []
    for a, b, c, d, group in quads:
        faces.append({"v": [a, b, c], "smoothing": group, "materialId": 1, "edges": [True, True, False]})
        faces.append({"v": [c, d, a], "smoothing": group, "materialId": 1, "edges": [True, True, False]})
    # Face-mapped in the head material: each face takes the whole map from its edges, so one
    # texture vertex stands for all; the mesh only needs to have texture faces at all.
    return {"vertices": vertices, "faces": faces, "tverts": [[0, 0]], "tvFaces": [[0, 0, 0]] * len(faces)}


def animated(values):
    return values[0] if all(v == values[0] for v in values) else {"frames": values}


def scene(anim, frames, texture_folder):
    count = frames[1] - frames[0] + 1
    worlds = [bone_worlds(anim, f, count) for f in range(count)]
    nodes = []
    for name, parent, _ in bone_locals(anim, 0, count):
        node = {"name": name, "bone": True, "object": {"class": "box"},
                "transform": animated([rounded(w[name]) for w in worlds])}
        if parent:
            node["parent"] = parent
        nodes.append(node)

    body = body_mesh()
    nodes.append({
        "name": "Body", "material": "ScoutMulti", "wireColor": [88, 144, 225],
        "object": {"class": "editableMesh", "mesh": body},
        "modifiers": [{"class": "skin", "bones": ["Pelvis", "Spine", "LeftThigh", "RightThigh"],
                       "points": body_weights(body["vertices"])}]})
    head = worlds[0]["Head"]
    nodes.append({
        "name": "Helmet", "parent": "Head", "material": "ScoutMulti", "userProperties": "MeshMinDetail = Medium",
        "object": {"class": "editableMesh", "mesh": helmet_mesh()},
        # The helmet's object sits at the world origin; the node follows the head.
        "transform": animated([rounded(w["Head"]) for w in worlds]),
        "objectOffset": rounded([[1, 0, 0], [0, 1, 0], [0, 0, 1], [-head[3][0], -head[3][1], -head[3][2]]])})
    nodes.append({"name": "Muzzle", "parent": "Spine", "object": {"class": "point"},
                  "transform": animated([rounded(mul(translate(0, -2, 1), w["Spine"])) for w in worlds])})
    nodes.append({"name": "PortraitCam", "object": {"class": "freeCamera", "fov": 0.6, "targetDistance": 40,
                                                   "manualClip": True, "nearClip": 1, "farClip": 200},
                  "transform": rounded(look_at([0, -40, 20], [0, 0, 20]))})
    nodes.append({"name": "ViewCam", "target": "ViewCam.Target", "object": {"class": "targetCamera", "fov": 0.8},
                  "transform": rounded(look_at([30, -30, 25], [0, 0, 12]))})
    nodes.append({"name": "ViewCam.Target", "object": {"class": "target"}, "transform": translate(0, 0, 12)})

    return {
        "format": "tq7z-scene", "version": 1,
        "frameRate": 30, "animationRange": list(frames),
        "fileProperties": [{"name": "Author", "value": "scout sample"}],
        "textures": [
            {"name": "ScoutBodyMap", "class": "bitmap", "file": texture_folder + "scout_body.tga",
             "uvGen": {"uMode": "wrap", "vMode": "wrap"}},
            # The head wears the project's shared texture, whose team colour pattern and shared
            # shader the merge exports.
            {"name": "ScoutHeadMap", "class": "bitmap",
             "file": texture_folder.replace("textures/", "") + "../../texture_share_scout.tga"},
        ],
        "materials": [
            {"name": "ScoutMulti", "class": "multi", "subMaterials": ["ScoutBody", "ScoutHead"]},
            {"name": "ScoutBody", "class": "standard", "diffuse": [0.8, 0.8, 0.8],
             "maps": {"diffuse": {"texmap": "ScoutBodyMap"}}},
            {"name": "ScoutHead", "class": "standard", "faceMap": True, "twoSided": True,
             "maps": {"diffuse": {"texmap": "ScoutHeadMap"}}},
        ],
        "nodes": nodes,
    }


def emit(value, indent=0):
    """JSON with one line per vertex, face, matrix and frame value, so diffs stay readable."""
    pad = "  " * indent

    def flat(v):
        return not isinstance(v, (list, dict)) or (
            isinstance(v, list) and all(not isinstance(e, (list, dict)) or flat(e) for e in v)
            and sum(isinstance(e, list) for e in v) <= 4) or (
            isinstance(v, dict) and len(json.dumps(v)) < 100 and all(flat(e) for e in v.values()))

    if flat(value):
        return json.dumps(value)
    if isinstance(value, list):
        return "[\n" + ",\n".join(pad + "  " + emit(e, indent + 1) for e in value) + "\n" + pad + "]"
    return "{\n" + ",\n".join(pad + "  " + json.dumps(k) + ": " + emit(v, indent + 1)
                             for k, v in value.items()) + "\n" + pad + "}"


def write(path, data):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as f:
        f.write(data)


def tga(path, w, h, pixel):
    """An uncompressed 32-bit TGA, bottom row first; pixel(x, y) gives (b, g, r, a)."""
    header = bytes([0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0]) + struct.pack("<HHBB", w, h, 32, 8)
    data = bytearray()
    for y in range(h):
        for x in range(w):
            data += bytes(pixel(x, y))
    write(path, header + bytes(data))


def main():
    write(os.path.join(SCOUT, "reference", "ref.json"),
          (emit(scene("reference", (0, 0), "../textures/")) + "\n").encode())
    write(os.path.join(SCOUT, "walk.json"), (emit(scene("walk", (0, 30), "textures/")) + "\n").encode())
    write(os.path.join(SCOUT, "idle.json"), (emit(scene("idle", (0, 20), "textures/")) + "\n").encode())
    # A khaki cloth with darker seams, and a helmet plate with a visor band.
    tga(os.path.join(SCOUT, "textures", "scout_body.tga"), 32, 32,
        lambda x, y: (60, 110, 120, 255) if x % 8 == 0 or y % 8 == 0 else (90, 160, 170, 255))
    tga(os.path.join(SCOUT, "textures", "scout_head.tga"), 16, 16,
        lambda x, y: (40, 40, 40, 255) if 9 <= y <= 11 else (70, 120, 80, 255))


if __name__ == "__main__":
    main()
