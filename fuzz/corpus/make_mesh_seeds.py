#!/usr/bin/env python3
"""Writes the seed corpus of the mesh fuzz target: small meaningful meshes in the target's input format
(see fuzz/mesh_fuzz.cpp and fuzz/support/moxfuzzinput.h), each followed by a few operations."""
import os
import struct

HERE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "mesh")


def word(value):  # Below(n) / Range(lo, hi) read a 32-bit big-endian word taken modulo the range
    return struct.pack(">I", value)


def below(value):
    return word(value)


def rng(value, low):
    return word(value - low)


def coordinate(value):  # Coordinate() = (byte - 128) / 16
    return bytes([int(value * 16) + 128])


def vertex(index):  # Index(count): a selector byte (2..7 keeps the index in range), then Below(count)
    return bytes([2]) + below(index)


def mesh(points, polygons, uv=False, edges=True):
    out = below(len(points))
    for x, y, z in points:
        out += coordinate(x) + coordinate(y) + coordinate(z) + bytes([1])
    out += below(len(polygons))
    for polygon in polygons:
        out += below(1) + rng(-1, -1) + rng(-1, -1) + rng(-1, -1) + bytes([1])  # BeginPolygon(-1,-1,-1,true)
        out += below(len(polygon))
        for k, v in enumerate(polygon):
            out += vertex(v) + rng(k if uv else -1, -1)
    out += below(0)  # no extra layer
    out += word(0)  # layer 0: no extra element
    out += bytes([0, 0])  # no skin, no blend shape
    out += bytes([1 if edges else 0])
    return out


def op(group, choice, *args):  # group: 0 edges, 1 attributes, 2 derived, 3 topology
    return below(group) + below(choice) + b"".join(args)


CUBE_POINTS = [(i & 1, (i >> 1) & 1, (i >> 2) & 1) for i in range(8)]
CUBE = [[0, 2, 3, 1], [4, 5, 7, 6], [0, 1, 5, 4], [2, 6, 7, 3], [0, 4, 6, 2], [1, 3, 7, 5]]
QUAD_POINTS = [(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0)]

SEEDS = {
    "quad_normals": mesh(QUAD_POINTS, [[0, 1, 2, 3]]) + op(2, 0, bytes([1, 0, 0])),
    "two_triangles_edges": mesh(QUAD_POINTS, [[0, 1, 2], [2, 1, 3]]) + op(0, 12) + op(0, 14, vertex(1), rng(0, -1)),
    "cube_split_merge": mesh(CUBE_POINTS, CUBE, uv=True) + op(2, 11, bytes([0])) + op(2, 6, below(0))
    + op(2, 7, below(1)),
    "cube_component_maps": mesh(CUBE_POINTS, CUBE) + op(2, 8) + op(2, 9),
    "cube_tangents": mesh(CUBE_POINTS, CUBE, uv=True) + op(2, 11, bytes([0])) + op(2, 4, bytes([1, 0])),
    "degenerate_cleanup": mesh(QUAD_POINTS, [[0, 1, 0], [1, 2], [], [0, 1, 2, 3]]) + op(3, 1) + op(3, 2),
    "remove_polygon": mesh(CUBE_POINTS, CUBE) + op(3, 0, vertex(2)) + op(0, 0),
}

if __name__ == "__main__":
    os.makedirs(HERE, exist_ok=True)
    for name, data in SEEDS.items():
        with open(os.path.join(HERE, name), "wb") as handle:
            handle.write(data)
