#pragma once
// Helpers shared by the edge and adjacency code of MoxMesh: polygon-vertex reads at positions computed
// from polygon records (which user writes can put anywhere), and the pairs of mV2PVMap.

#include <algorithm>
#include <climits>
#include <cstdint>

#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxsdk {
namespace detail {

// Control points with more corners than this get a neighbour index in mV2PVNeighbours; the corners of any
// other control point are all walked (MoxMesh::NextV2PVCorner returns each in turn).
constexpr int sgHighValence = 32;

// Position arithmetic on polygon records is done in 64 bits (mIndex + mSize may pass INT_MAX after a
// user write); a result that does not fit an int is passed on as -1, which is out of range as well.
inline int MoxPolygonPosition(int64_t pPosition)
{
    return pPosition >= INT_MIN && pPosition <= INT_MAX ? static_cast<int>(pPosition) : -1;
}

// The control point at polygon vertex pPosition, through the array's checked access: an out-of-range
// position is reported by the array and reads its scratch value.
inline int MoxReadVertex(const MoxArray<int>& pPolygonVertices, int64_t pPosition)
{
    return pPolygonVertices[MoxPolygonPosition(pPosition)];
}

// What MoxReadVertex gives, without the report: the slot inside the array's capacity (past the count, what
// the reserved area holds), else the scratch value 0. For passes that only prepare a later checked read.
inline int MoxPeekVertex(const MoxArray<int>& pPolygonVertices, int64_t pPosition)
{
    return pPosition >= 0 && pPosition < pPolygonVertices.GetCapacity() ? pPolygonVertices.GetArray()[pPosition] : 0;
}

// True when the edge lookups would build their maps without a report: well-formed topology (every
// polygon vertex a control point, runs back to back) and no empty polygon (whose first vertex the edge
// vertex lookup reads). Such a mesh can answer edge questions from tables of its own.
inline bool MoxHasPlainPolygons(const MoxMesh& pMesh)
{
    return pMesh.HasWellFormedTopology() &&
           std::all_of(pMesh.mPolygons.begin(), pMesh.mPolygons.end(),
                       [](const MoxMesh::PolygonDef& pPolygon) { return pPolygon.mSize >= 1; });
}

// Pair pRank of control point pControlPoint in pMesh.mV2PVMap: {polygon, position in polygon}. The
// caller has checked pRank against MoxMesh::GetV2PVCount.
inline MoxPair<int, int> MoxMapCorner(const MoxMesh& pMesh, int pControlPoint, int pRank)
{
    return pMesh.mV2PVMap.mVertex2PV[pMesh.mV2PVMap.mVertex2PVOffset[pControlPoint] + pRank];
}

}  // namespace detail
}  // namespace moxsdk
