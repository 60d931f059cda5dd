"""Fixtures of the moxsdk tests: the build's programs and named meshes built in code."""

import math
import os
import pathlib
import subprocess

import numpy as np
import pytest

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
# The build that made the package (scripts/python.sh builds it in build/python).
BUILD_BIN = pathlib.Path(os.environ.get("MOXSDK_BUILD_DIR", REPOSITORY / "build" / "python")) / "bin"
MODELS = pathlib.Path("/usr/share/assimp/models")


def build_program(name):
    path = BUILD_BIN / name
    if not path.is_file():
        pytest.fail(f"{path} is missing: run scripts/python.sh (or set MOXSDK_BUILD_DIR)")
    return path


@pytest.fixture(scope="session")
def moxmesh():
    return build_program("moxmesh")


def cube_arrays():
    points = np.array([[x, y, z] for z in (0.0, 1.0) for y in (0.0, 1.0) for x in (0.0, 1.0)])
    quads = np.array([[0, 2, 3, 1], [4, 5, 7, 6], [0, 1, 5, 4], [2, 6, 7, 3], [0, 4, 6, 2], [1, 3, 7, 5]])
    return points, quads


def cylinder_arrays(segments=8):
    """A UV-mapped open cylinder of quads (the seam column duplicated) with one UV per polygon vertex."""
    points = []
    for ring in (0.0, 1.0):
        for s in range(segments + 1):
            angle = 2.0 * math.pi * s / segments
            points.append([math.cos(angle), math.sin(angle), ring])
    row = segments + 1
    quads = [[s, s + 1, row + s + 1, row + s] for s in range(segments)]
    uvs = []
    for quad in quads:
        for index in quad:
            uvs.append([(index % row) / segments, float(index // row)])
    return np.array(points), np.array(quads), np.array(uvs)


def library_reference(points, polygons, uvs=None):
    """The normals (and tangents, binormals) the C++ library gives for the mesh, exactly."""
    lines = [str(len(points))]
    lines += [" ".join(repr(float(c)) for c in point) for point in points]
    lines.append(str(len(polygons)))
    lines += [" ".join(str(int(i)) for i in [len(polygon), *polygon]) for polygon in polygons]
    lines.append("0" if uvs is None else str(len(uvs)))
    if uvs is not None:
        lines += [" ".join(repr(float(c)) for c in uv) for uv in uvs]
    result = subprocess.run([build_program("moxpython_reference")], input="\n".join(lines) + "\n",
                            capture_output=True, text=True, check=True)
    values = {"normal": [], "tangent": [], "binormal": []}
    for line in result.stdout.splitlines():
        name, *numbers = line.split()
        values[name].append([float.fromhex(n) for n in numbers])
    return {name: np.array(rows) for name, rows in values.items()}
