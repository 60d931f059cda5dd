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

struct RandomMeshOptions {
    int mMinPoints = 0;
    int mMaxPoints = 40;
    int mMinPolygons = 0;
    int mMaxPolygons = 40;
    int mMaxPolygonSize = 6;           // sizes 0 .. mMaxPolygonSize
    bool mDegenerate = true;           // polygons of size 0 to 2, repeated vertices
    bool mInvalidIndices = false;      // negative and out-of-range control point indices
    bool mCoincidentPoints = true;     // some points share a position
};

// A random mesh drawn from pRandom: shared and repeated vertices, non-manifold edges, and (per the
// options) degenerate polygons and invalid indices. Positions are on a small integer grid so that
// coincident points and exact distances occur.
void MakeRandomMesh(moxsdk::MoxMesh& pMesh, std::mt19937& pRandom, const RandomMeshOptions& pOptions = {});

}  // namespace moxtest
