#!/usr/bin/env python3
"""Turns moxpeers_bench's JSON output into tables (Markdown).

For every mesh: each of our operations beside the nearest peer operations, both CPU times (the fastest
of repeated runs), the peer's time divided by ours (above 1: ours is faster), and our time in streaming
passes (our time divided by the floor's, one pass that reads each corner's index and position and writes
one double4); beside each time, the minor page faults per call (the "faults/call" counter: first touches
of fresh memory, which cost more than the arithmetic on many machines). Then, for the torus meshes, our time per polygon at each size, and the largest over the
smallest.

Usage: benchtable.py RESULTS.json
"""

import json
import os
import sys

# (work, our operation, nearest peer operations), in table order.
PAIRS = [
    ("edge table / connectivity", "mox.BuildMeshEdgeArray", ["openmesh.HalfedgeBuild"]),
    ("edge-to-polygon maps", "mox.ComputeComponentMaps", ["openmesh.HalfedgeBuild"]),
    ("smooth normals per point", "mox.GenerateNormals.ByControlPoint",
     ["openmesh.FaceVertexNormals", "assimp.GenSmoothNormals175"]),
    ("per-corner normals, smoothing groups", "mox.GenerateNormals.SmoothingByPolygon",
     ["openmesh.FaceHalfedgeNormals", "assimp.GenSmoothNormals45"]),
    ("per-corner normals, hard/soft edges", "mox.GenerateNormals.SmoothingByEdge",
     ["openmesh.FaceHalfedgeNormals", "assimp.GenSmoothNormals45"]),
    ("per-corner normals from a feature angle", "mox.SmoothByAngle45+GenerateNormals",
     ["openmesh.FaceHalfedgeNormals", "assimp.GenSmoothNormals45"]),
    ("tangents and binormals", "mox.GenerateTangentsDataForAllUVSets", ["assimp.CalcTangentSpace"]),
    ("tangents after smoothing by edge", "mox.GenerateTangentsDataForAllUVSets.SmoothingByEdge",
     ["assimp.CalcTangentSpace"]),
    ("merge list (a point per corner in)", "mox.BuildMergeList",
     ["meshopt.generateVertexRemap", "assimp.JoinIdenticalVertices"]),
    ("merge coincident points", "mox.BuildMergeList+MergePoints", ["assimp.JoinIdenticalVertices"]),
    ("degenerate polygons", "mox.RemoveBadPolygons", ["assimp.FindDegenerates"]),
    ("degenerate polygons", "mox.CheckSamePointTwice", ["assimp.FindDegenerates"]),
    ("import pipeline", "mox.DemoPipeline", ["assimp.ImportChain"]),
]

FLOOR = "floor.StreamingPass"

NAMES = {
    "mox.BuildMeshEdgeArray": "BuildMeshEdgeArray",
    "mox.ComputeComponentMaps": "ComputeComponentMaps",
    "mox.GenerateNormals.ByControlPoint": "GenerateNormals by control point",
    "mox.GenerateNormals.SmoothingByPolygon": "GenerateNormals, smoothing by polygon",
    "mox.GenerateNormals.SmoothingByEdge": "GenerateNormals, smoothing by edge",
    "mox.SmoothByAngle45+GenerateNormals": "edges by angle (45 deg) + GenerateNormals",
    "mox.GenerateTangentsDataForAllUVSets": "GenerateTangentsDataForAllUVSets (smooth normals)",
    "mox.GenerateTangentsDataForAllUVSets.SmoothingByEdge": "GenerateTangentsDataForAllUVSets (45 deg hard edges)",
    "mox.BuildMergeList": "BuildMergeList",
    "mox.BuildMergeList+MergePoints": "BuildMergeList + MergePointsForPolygonVerteNormals",
    "mox.RemoveBadPolygons": "RemoveBadPolygons",
    "mox.CheckSamePointTwice": "CheckSamePointTwice",
    "mox.DemoPipeline": "demo pipeline (8 steps)",
    "openmesh.HalfedgeBuild": "OpenMesh halfedge build",
    "openmesh.FaceVertexNormals": "OpenMesh face + vertex normals",
    "openmesh.FaceHalfedgeNormals": "OpenMesh face + halfedge normals (0.8 rad)",
    "assimp.GenSmoothNormals175": "Assimp GenSmoothNormals (175 deg)",
    "assimp.GenSmoothNormals45": "Assimp GenSmoothNormals (45 deg)",
    "assimp.CalcTangentSpace": "Assimp CalcTangentSpace",
    "assimp.JoinIdenticalVertices": "Assimp JoinIdenticalVertices",
    "assimp.FindDegenerates": "Assimp FindDegenerates",
    "assimp.ImportChain":
        "Assimp FindDegenerates + GenSmoothNormals (30 deg) + CalcTangentSpace + JoinIdenticalVertices",
    "meshopt.generateVertexRemap": "meshoptimizer generateVertexRemap",
}

TO_MS = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}


def load(path):
    """{mesh: {operation: entry}} in the order of the run, entries with "ms" (CPU time) added; of repeated
    runs, the fastest."""
    with open(path) as stream:
        report = json.load(stream)
    meshes = {}
    for entry in report.get("benchmarks", []):
        if entry.get("run_type", "iteration") != "iteration" or "/" not in entry["name"]:
            continue
        mesh, operation = entry["name"].split("/", 1)
        if entry.get("error_occurred"):
            entry["ms"] = None
        else:
            entry["ms"] = entry["cpu_time"] * TO_MS[entry.get("time_unit", "ns")]
        rows = meshes.setdefault(mesh, {})
        best = rows.get(operation)
        if best is None or best["ms"] is None or (entry["ms"] is not None and entry["ms"] < best["ms"]):
            rows[operation] = entry
    return report.get("context", {}), meshes


def time_of(rows, operation):
    entry = rows.get(operation)
    return entry["ms"] if entry else None


def fmt_ms(value):
    if value is None:
        return "-"
    if value >= 100:
        return "{:,.0f}".format(value)
    if value >= 10:
        return "{:.1f}".format(value)
    return "{:.2f}".format(value) if value >= 1 else "{:.3f}".format(value)


def fmt_ratio(numerator, denominator):
    if numerator is None or denominator is None or denominator <= 0:
        return "-"
    ratio = numerator / denominator
    return "{:.1f}".format(ratio) if ratio >= 10 else "{:.2f}".format(ratio)


def fmt_faults(rows, operation):
    """Minor page faults per call of the fastest run ("faults/call" counter)."""
    entry = rows.get(operation)
    if entry is None or entry.get("faults/call") is None:
        return "-"
    return "{:,.0f}".format(entry["faults/call"])


def describe(rows):
    entry = next(iter(rows.values()))
    polygons = int(entry.get("polygons", 0))
    triangles = int(entry.get("triangles", 0))
    if polygons == triangles:
        return "{:,} triangles".format(polygons)
    return "{:,} polygons ({:,} triangles)".format(polygons, triangles)


def print_mesh(mesh, rows):
    floor = time_of(rows, FLOOR)
    print("### {}: {}; floor (one streaming pass) {} ms".format(mesh, describe(rows), fmt_ms(floor)))
    print()
    print("| work | ours | ms | faults | passes | nearest peer | ms | faults | peer / ours |")
    print("|---|---|---:|---:|---:|---|---:|---:|---:|")
    for work, ours, peers in PAIRS:
        ours_ms = time_of(rows, ours)
        if ours not in rows:
            continue
        present = [peer for peer in peers if peer in rows] or [None]
        for i, peer in enumerate(present):
            peer_ms = time_of(rows, peer) if peer else None
            left = ([work, NAMES[ours], fmt_ms(ours_ms), fmt_faults(rows, ours), fmt_ratio(ours_ms, floor)]
                    if i == 0 else ["", "", "", "", ""])
            right = [NAMES[peer] if peer else "-", fmt_ms(peer_ms), fmt_faults(rows, peer) if peer else "-",
                     fmt_ratio(peer_ms, ours_ms)]
            print("| " + " | ".join(left + right) + " |")
    print()


def size_of(mesh):
    return mesh.rsplit("_", 1)[1]


def print_scaling(meshes, family):
    """Our ns per polygon over the sizes of one torus family ("torus_tri", "torus_quad")."""
    names = [mesh for mesh in meshes if mesh.startswith(family + "_")]
    if len(names) < 2:
        return
    print("### {}: ns per polygon by size".format(family))
    print()
    print("| operation | " + " | ".join(size_of(mesh) for mesh in names) + " | largest / smallest |")
    print("|---|" + "---:|" * (len(names) + 1))
    for operation in [FLOOR] + [ours for _, ours, _ in PAIRS]:
        values = []
        for mesh in names:
            entry = meshes[mesh].get(operation)
            if entry is None or entry["ms"] is None:
                values.append(None)
            else:
                values.append(entry["ms"] * 1e6 / max(entry.get("polygons", 1), 1))
        known = [value for value in values if value is not None]
        if not known:
            continue
        cells = ["-" if value is None else "{:.1f}".format(value) for value in values]
        spread = fmt_ratio(max(known), min(known)) if len(known) > 1 else "-"
        label = "streaming pass (floor)" if operation == FLOOR else NAMES[operation]
        print("| " + " | ".join([label] + cells + [spread]) + " |")
    print()


def huge_page_setting():
    """The kernel's transparent huge page mode, the bracketed word of its setting ("madvise")."""
    try:
        with open("/sys/kernel/mm/transparent_hugepage/enabled") as stream:
            setting = stream.read()
    except OSError:
        return "unknown"
    start, end = setting.find("["), setting.find("]")
    return setting[start + 1:end] if 0 <= start < end else setting.strip()


def main():
    if len(sys.argv) != 2:
        print(__doc__.strip().splitlines()[-1], file=sys.stderr)
        return 2
    context, meshes = load(sys.argv[1])
    if not meshes:
        print("no results in " + sys.argv[1], file=sys.stderr)
        return 1
    runs = max((entry.get("repetitions", 1) for rows in meshes.values() for entry in rows.values()), default=1)
    best = " best of {} runs;".format(runs) if runs > 1 else ""
    print("CPU time per call in ms (single thread;{} peer / ours above 1: ours is faster); passes: our".format(best))
    print("time in streaming passes over the corners; faults: minor page faults per call. Machine: {} x {} MHz,"
          " load average {}; transparent huge pages: {}; GLIBC_TUNABLES: {}.".format(
              context.get("num_cpus", "?"), context.get("mhz_per_cpu", "?"),
              " ".join("{:.1f}".format(load) for load in context.get("load_avg", [])),
              huge_page_setting(), os.environ.get("GLIBC_TUNABLES") or "unset"))
    print()
    for mesh, rows in meshes.items():
        print_mesh(mesh, rows)
    for family in ("torus_tri", "torus_quad"):
        print_scaling(meshes, family)
    return 0


if __name__ == "__main__":
    sys.exit(main())
