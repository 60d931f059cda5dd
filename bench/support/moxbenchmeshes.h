#pragma once
// Procedural meshes for the benchmarks, as plain arrays, so each benchmark can feed them to whatever it
// measures (the mesh, a peer library, a plain loop). Generation is deterministic: the same arguments
// give the same arrays on every machine.

#include <vector>

namespace moxbench {

// A polygon mesh with one UV set. Polygon p has mPolygonSizes[p] corners; its corners are the next
// mPolygonSizes[p] entries of mPolygonVertices (control point indices) and of mUVIndices (UV indices),
// polygon after polygon.
struct MeshData {
    std::vector<double> mPositions;     // x, y, z per control point
    std::vector<int> mPolygonSizes;     // corner count per polygon
    std::vector<int> mPolygonVertices;  // control point index per corner
    std::vector<double> mUVs;           // u, v per UV
    std::vector<int> mUVIndices;        // UV index per corner

    int ControlPointCount() const { return static_cast<int>(mPositions.size() / 3); }
    int PolygonCount() const { return static_cast<int>(mPolygonSizes.size()); }
    int CornerCount() const { return static_cast<int>(mPolygonVertices.size()); }
    int UVCount() const { return static_cast<int>(mUVs.size() / 2); }
    int TriangleCount() const;  // triangles after fanning every polygon
};

enum class ETorusPolygons { eQuads, eTriangles };

// The torus shared with the peer measurements, about pTriangleCount triangles:
// nv = round(sqrt(N / 4)), nu = round(N / (2 nv)) (each at least 3), R = 1, r = 0.4.
// Control point (i, j) is index i * nv + j, at ((R + r cos v) cos u, (R + r cos v) sin u, r sin v) with
// u = 2 pi i / nu, v = 2 pi j / nv. Quad (i, j), in order of i then j, is (i, j), (i+1, j), (i+1, j+1),
// (i, j+1) with wrap-around; as triangles it is (a, b, c), (a, c, d). UV (i, j) is (i / nu, j / nv) on a
// (nu + 1) x (nv + 1) grid, index i * (nv + 1) + j, taken per corner without wrap-around: the surface is
// closed and the UV set has seams. nu x nv quads, 2 nu nv triangles (99,856 for N = 100,000).
MeshData Torus(int pTriangleCount, ETorusPolygons pPolygons);

// A closed, manifold mix of triangles and quads, about pPolygonCount polygons: the torus grid (with a
// bumpy tube, so normals vary) where about half of the quads, picked by a hash of pSeed and the quad,
// are split into two triangles along a diagonal that also depends on the hash. The UV set follows the
// torus layout.
MeshData MixedMesh(int pPolygonCount, unsigned int pSeed = 1);

// An open fan of pTriangleCount triangles around control point 0 (the apex) on a flat disc: rim point
// i (1 .. pTriangleCount + 1) at angle 2 pi (i - 1) / (pTriangleCount + 1), triangle i is (0, i + 2, i + 1).
// Every spoke is first met as a side leaving the apex, so the apex starts pTriangleCount edges: the
// worst case for per-control-point walks. UV i is the point's (x, y) mapped into [0, 1].
MeshData Fan(int pTriangleCount);

}  // namespace moxbench
