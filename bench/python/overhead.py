"""Python overhead: Mesh.from_arrays + build_edges + generate_normals + mesh.normals on 1M triangles,
beside the same steps in C++ (bench/python/overhead.cpp: the library moxpython_overhead that
scripts/python.sh builds, loaded here and run in this same process). A benchmark, not a test.

    .venv/bin/python bench/python/overhead.py [--repetitions N]

Prints the best time of each step over the repetitions, in both languages, and the ratio of the totals.
Times are processor time of the process (user and system), so that a machine busy with other work
changes them little.
The two alternate, one repetition each in turn, so that a busy machine slows both alike, after one
warm-up run each; the process keeps freed memory (glibc settings) so that neither pays for first-touch
page faults that the other escapes.
"""

import argparse
import ctypes
import os
import pathlib
import sys
import time

import numpy as np

import moxsdk

ROWS, COLUMNS = 500, 1000  # quads, two triangles each: 1,000,000 triangles
STEPS = ["from_arrays", "build_edges", "generate_normals", "normals"]
# Large blocks from the heap, never trimmed: the C++ program and this interpreter alike.
ALLOCATOR = {"MALLOC_MMAP_THRESHOLD_": str(1 << 32), "MALLOC_TRIM_THRESHOLD_": str(1 << 36)}


def grid():
    """The grid of overhead.cpp: point (i, j) at (j, i, sin(0.05 i) cos(0.03 j))."""
    i, j = np.meshgrid(np.arange(ROWS + 1, dtype=np.float64), np.arange(COLUMNS + 1, dtype=np.float64), indexing="ij")
    points = np.stack([j, i, np.sin(0.05 * i) * np.cos(0.03 * j)], axis=-1).reshape(-1, 3)
    corner = (np.arange(ROWS)[:, None] * (COLUMNS + 1) + np.arange(COLUMNS)[None, :]).reshape(-1)
    above = corner + COLUMNS + 1
    triangles = np.stack([corner, corner + 1, above + 1, corner, above + 1, above], axis=-1).reshape(-1, 3)
    return points, triangles.astype(np.int32)


def cpp_times(library):
    seconds = (ctypes.c_double * len(STEPS))()
    library.MoxPythonOverhead(ROWS, COLUMNS, 1, seconds)
    return dict(zip(STEPS, seconds))


def python_times(points, triangles):
    times = {}
    start = time.process_time()
    mesh = moxsdk.Mesh.from_arrays(points, triangles)
    times["from_arrays"] = time.process_time() - start
    start = time.process_time()
    mesh.build_edges()
    times["build_edges"] = time.process_time() - start
    start = time.process_time()
    mesh.generate_normals()
    times["generate_normals"] = time.process_time() - start
    start = time.process_time()
    normals = mesh.normals
    times["normals"] = time.process_time() - start
    assert normals.shape == (len(triangles) * 3, 3)
    return times


def main():
    if any(os.environ.get(name) != value for name, value in ALLOCATOR.items()):
        os.execve(sys.executable, [sys.executable, *sys.argv], {**os.environ, **ALLOCATOR})
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--library", default=str(pathlib.Path(__file__).resolve().parents[2] / "build" / "python" /
                                                 "bin" / "libmoxpython_overhead.so"))
    arguments = parser.parse_args()
    library = ctypes.CDLL(arguments.library)
    library.MoxPythonOverhead.argtypes = [ctypes.c_int, ctypes.c_int, ctypes.c_int, ctypes.POINTER(ctypes.c_double)]
    points, triangles = grid()
    cpp = dict.fromkeys(STEPS, float("inf"))
    python = dict.fromkeys(STEPS, float("inf"))
    cpp_times(library)  # warm-ups
    python_times(points, triangles)
    for _ in range(arguments.repetitions):
        cpp_run = cpp_times(library)
        python_run = python_times(points, triangles)
        cpp = {step: min(cpp[step], cpp_run[step]) for step in STEPS}
        python = {step: min(python[step], python_run[step]) for step in STEPS}
    print(f"{len(triangles)} triangles, best of {arguments.repetitions}")
    print(f"{'step':<18}{'C++ ms':>10}{'Python ms':>12}{'ratio':>8}")
    for step in STEPS:
        print(f"{step:<18}{1000 * cpp[step]:>10.1f}{1000 * python[step]:>12.1f}{python[step] / cpp[step]:>8.2f}")
    cpp_total = sum(cpp[step] for step in STEPS)
    python_total = sum(python[step] for step in STEPS)
    print(f"{'total':<18}{1000 * cpp_total:>10.1f}{1000 * python_total:>12.1f}{python_total / cpp_total:>8.2f}")
    print(f"Python overhead: {python_total / cpp_total:.2f}x the C++ time")


if __name__ == "__main__":
    main()
