#pragma once
// Fixture meshes for the tests: named small meshes with exact, known topology, and random meshes for
// the oracle comparisons (including degenerate ones).

#include <algorithm>
#include <initializer_list>
#include <random>
#include <vector>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxmanager.h"

namespace moxtest {

// Owns a manager for the duration of a test; destroying it destroys every object made in it.
class ManagerScope {
public:
    ManagerScope();
    ~ManagerScope();
    ManagerScope(const ManagerScope&) = delete;
    ManagerScope& operator=(const ManagerScope&) = delete;
    moxsdk::MoxManager* Get() const { return mManager; }
    moxsdk::MoxMesh* NewMesh(const char* pName = "mesh") const;

private:
    moxsdk::MoxManager* mManager;
};

struct Point {
    double mX, mY, mZ;
};

// Sets the control points and appends one polygon per list (BeginPolygon(-1, -1, -1, true) and
// AddPolygon per vertex, no UV index). Existing polygons and points are replaced.
void BuildMesh(moxsdk::MoxMesh& pMesh, const std::vector<Point>& pPoints,
               const std::vector<std::vector<int>>& pPolygons);

// One quad (0, 1, 2, 3): the unit square in the xy-plane, counter-clockwise seen from +z.
void MakeQuad(moxsdk::MoxMesh& pMesh);
// Triangles (0, 1, 2) and (2, 1, 3) sharing side 1-2.
void MakeTwoTriangles(moxsdk::MoxMesh& pMesh);
// A closed fan of pTriangles triangles (0, 1 + i, 1 + (i + 1) % pTriangles) around apex 0, over pPointCount
// control points (at least pTriangles + 1; the others are used by no polygon). The apex has pTriangles
// corners.
void MakeClosedFan(moxsdk::MoxMesh& pMesh, int pTriangles, int pPointCount);
// The closed fan, then 0 to 3 more triangles (0, a, b) at the apex, a and b drawn from pRandom among the
// other control points.
void MakeBusyFan(moxsdk::MoxMesh& pMesh, std::mt19937& pRandom, int pTriangles, int pPointCount);
// One random polygon edit, as callers make them inside an edge-editing pair: a polygon vertex written
// through GetPolygonVertices, or through mPolygonVertices (followed by NotePolygonEdit when
// pRecordMemberWrites), or a polygon removed and a triangle appended (the apex 0 likelier among its
// corners); or no edit. New values are control points of the mesh.
void EditPolygonsRandomly(moxsdk::MoxMesh& pMesh, std::mt19937& pRandom, bool pRecordMemberWrites);
// The unit cube [0,1]^3: 8 points (point i = (i & 1, (i >> 1) & 1, (i >> 2) & 1)), 6 quads wound
// counter-clockwise seen from outside.
void MakeCube(moxsdk::MoxMesh& pMesh);
// Quads (0, 1, 2, 3) and (1, 4, 5, 2) side by side in the xy-plane, sharing side 1-2.
void MakeTwoQuads(moxsdk::MoxMesh& pMesh);
// Two quads meeting at side 1-2 with a fold of pDegrees between their normals: (0, 1, 2, 3) in the
// xy-plane and (1, 4, 5, 2) turned up by pDegrees about the line x = 1.
void MakeFold(moxsdk::MoxMesh& pMesh, double pDegrees);
// A prism of pSides side quads around the z axis (radius 1, z from 0 to 1), its two caps as pSides-gons,
// all wound counter-clockwise seen from outside. Points 0 .. pSides - 1 at z = 0, then the same at z = 1.
// Polygons: sides 0 .. pSides - 1, then the bottom cap, then the top cap.
void MakeCylinder(moxsdk::MoxMesh& pMesh, int pSides);
// A square pyramid: base quad (0, 3, 2, 1) at z = 0 over [-1, 1]^2, apex 4 at (0, 0, 1), four triangles;
// all wound counter-clockwise seen from outside. Polygon 0 is the base, 1 .. 4 the triangles.
void MakePyramid(moxsdk::MoxMesh& pMesh);
// A fan of pCount triangles around apex 0 on a cone (apex at z = pHeight over the unit circle), closed.
void MakeFan(moxsdk::MoxMesh& pMesh, int pCount, double pHeight);
// A grid of pColumns x pRows quads over (pColumns + 1) x (pRows + 1) points (point i at (i, i % 5, 0));
// with pClosed the grid wraps in both directions (a torus of pColumns x pRows points).
void MakeGrid(moxsdk::MoxMesh& pMesh, int pColumns, int pRows, bool pClosed);
// A regular pSides-gon (one polygon) on the unit circle in the xy-plane, counter-clockwise from +z.
void MakeNGon(moxsdk::MoxMesh& pMesh, int pSides);
// Three triangles (0, 1, 2), (1, 0, 3) and (0, 1, 4) on the one edge 0-1: a non-manifold edge.
void MakeNonManifoldEdge(moxsdk::MoxMesh& pMesh);
// A quad (0, 1, 2, 3), then the degenerate polygons a mesh can hold: a triangle with a repeated corner
// (1, 4, 1), a collinear triangle (0, 1, 5) of zero area, a two-corner polygon (2, 3).
void MakeDegeneratePolygons(moxsdk::MoxMesh& pMesh);
// Degenerate polygons and invalid indices: quad (0, 1, 2, 3), (4, 5, 4) with 5 past the five points, the
// two-corner (1, 2), an empty polygon, (0, -1, 3), (3, 2, 4, 7), (0, 1, 4).
void MakeInvalidMesh(moxsdk::MoxMesh& pMesh);
// MakeTwoQuads with a UV set on a UV seam along side 1-2: layer 0's UV element "seam" by polygon vertex,
// index to direct; the left quad reads UVs 0..3 = (0,0) (1,0) (1,1) (0,1), the right quad its own values
// 4..7 = (0,0) (1,0) (1,1) (0,1) for points 1, 4, 5, 2 (so points 1 and 2 carry two different UVs).
void MakeUVSeam(moxsdk::MoxMesh& pMesh);

struct RandomMeshOptions {
    int mMinPoints = 0;
    int mMaxPoints = 40;
    int mMinPolygons = 0;
    int mMaxPolygons = 40;
    int mMaxPolygonSize = 6;        // sizes 0 .. mMaxPolygonSize
    bool mDegenerate = true;        // polygons of size 0 to 2, repeated vertices
    bool mInvalidIndices = false;   // negative and out-of-range control point indices
    bool mCoincidentPoints = true;  // some points share a position
};

// A random mesh drawn from pRandom: shared and repeated vertices, non-manifold edges, and (per the
// options) degenerate polygons and invalid indices. Positions are on a small integer grid so that
// coincident points and exact distances occur.
void MakeRandomMesh(moxsdk::MoxMesh& pMesh, std::mt19937& pRandom, const RandomMeshOptions& pOptions = {});

}  // namespace moxtest
