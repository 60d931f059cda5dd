#!/usr/bin/env python3
"""Writes a UV-mapped torus as an OBJ file of triangles, for the end-to-end comparison (bench.sh --pipeline).

The torus has RINGS x SIDES quads, each cut into two triangles (2 x RINGS x SIDES triangles); its points
are shared around both circles, its UVs are not: the UV grid has one more row and column, so the torus
has a UV seam along one ring and one side, as an unwrapped model has. No normals: the programs compared
make them.

Usage: torusobj.py TRIANGLES OUT.obj   (TRIANGLES rounded to 2 x RINGS x SIDES with RINGS = 2 x SIDES)
"""

import math
import sys

MAJOR_RADIUS = 1.0
MINOR_RADIUS = 0.4


def write_torus(triangles, path):
    sides = max(3, int(round(math.sqrt(triangles / 4.0))))
    rings = 2 * sides
    with open(path, "w") as out:
        out.write("# torus: {} rings x {} sides, {} triangles, UV seam\n".format(rings, sides, 2 * rings * sides))
        lines = []
        for i in range(rings):
            u = 2.0 * math.pi * i / rings
            cu, su = math.cos(u), math.sin(u)
            for j in range(sides):
                v = 2.0 * math.pi * j / sides
                radius = MAJOR_RADIUS + MINOR_RADIUS * math.cos(v)
                lines.append("v {:.6f} {:.6f} {:.6f}\n".format(radius * cu, radius * su, MINOR_RADIUS * math.sin(v)))
        out.writelines(lines)
        lines = []
        for i in range(rings + 1):
            for j in range(sides + 1):
                lines.append("vt {:.6f} {:.6f}\n".format(i / rings, j / sides))
        out.writelines(lines)
        lines = []
        for i in range(rings):
            for j in range(sides):
                # OBJ indices start at 1; points wrap around, UVs do not.
                p00 = i * sides + j + 1
                p10 = (i + 1) % rings * sides + j + 1
                p01 = i * sides + (j + 1) % sides + 1
                p11 = (i + 1) % rings * sides + (j + 1) % sides + 1
                t00 = i * (sides + 1) + j + 1
                t10 = t00 + sides + 1
                t01 = t00 + 1
                t11 = t10 + 1
                lines.append("f {}/{} {}/{} {}/{}\n".format(p00, t00, p10, t10, p11, t11))
                lines.append("f {}/{} {}/{} {}/{}\n".format(p00, t00, p11, t11, p01, t01))
            out.writelines(lines)
            lines = []


def main():
    if len(sys.argv) != 3:
        print(__doc__.strip().splitlines()[-1], file=sys.stderr)
        return 2
    write_torus(int(sys.argv[1]), sys.argv[2])
    return 0


if __name__ == "__main__":
    sys.exit(main())
