// The control-point-to-vertices map: for every control point, its polygon vertices, as offsets plus one
// flat list built by counting sort (count per control point, prefix sum, place). Linear in the number of
// polygon vertices plus control points; the only extra memory is one counter per control point.
//
// The neighbour form (FillWithAdjacencyInfo) lives in moxmeshcpmapadjacency.cxx: it reads the edge table
// through the edge queries, and keeping it apart keeps the polygon-vertex form free of that dependency.

#include "moxmeshcpmapbuild.h"
#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxsdk {
namespace {

// The control point of a polygon vertex as GetIndex gives it: values not below pCount (taken as unsigned,
// so negative ones too) land on the last control point.
int ClampedControlPoint(int pValue, int pCount)
{
    return static_cast<unsigned int>(pValue) < static_cast<unsigned int>(pCount) ? pValue : pCount - 1;
}

}  // namespace

void MoxMesh::ControlPointToVerticesMap::Clear()
{
    mOffsets.Clear();
    mVertices.Clear();
}

// The last control point's list runs to the end of mVertices.
int MoxMesh::ControlPointToVerticesMap::GetCount(int pControlPoint) const
{
    if (pControlPoint < 0 || pControlPoint >= GetCount()) return 0;
    const int lEnd = pControlPoint + 1 < GetCount() ? mOffsets[pControlPoint + 1] : mVertices.GetCount();
    return lEnd - mOffsets[pControlPoint];
}

// pIndex is not checked against the list's length: past mVertices the array reports.
int MoxMesh::ControlPointToVerticesMap::GetVertex(int pControlPoint, int pIndex) const
{
    if (pControlPoint < 0 || pControlPoint >= GetCount()) return -1;
    // Two's-complement sum: a caller's index may overflow int; the array then reports the result.
    const unsigned int lPosition =
        static_cast<unsigned int>(mOffsets[pControlPoint]) + static_cast<unsigned int>(pIndex);
    return mVertices[static_cast<int>(lPosition)];
}

// Entries of one control point are in increasing polygon-vertex order. When memory runs out the map is
// left empty.
void MoxMesh::ControlPointToVerticesMap::FillWithControlPointInfo(MoxMesh* pMesh)
{
    if (!pMesh) return;
    const int lCount = pMesh->GetControlPointsCount();
    if (lCount < 1) {
        Clear();
        return;
    }
    MoxArray<int> lCounters;
    const int lVertexCount = pMesh->mPolygonVertices.GetCount();
    const int* lPolygonVertices = pMesh->mPolygonVertices.GetArray();
    if (!detail::MoxStartControlPointCounts(lCounters, mOffsets, lCount)) {
        Clear();
        return;
    }
    int* lCounts = lCounters.GetArray();
    for (int lVertex = 0; lVertex < lVertexCount; ++lVertex)
        ++lCounts[ClampedControlPoint(lPolygonVertices[lVertex], lCount)];
    detail::MoxComputeControlPointOffsets(mOffsets, lCounters, lCount);

    mVertices.Resize(lVertexCount);
    if (mVertices.GetCount() != lVertexCount) {
        Clear();
        return;
    }
    const int* lOffsets = mOffsets.GetArray();
    int* lVertices = mVertices.GetArray();
    for (int lVertex = 0; lVertex < lVertexCount; ++lVertex) {
        const int lControlPoint = ClampedControlPoint(lPolygonVertices[lVertex], lCount);
        lVertices[lOffsets[lControlPoint] + lCounts[lControlPoint]++] = lVertex;
    }
}

void MoxMesh::ComputeControlPointToVerticesMap(ControlPointToVerticesMap& pMap)
{
    pMap.FillWithControlPointInfo(this);
}

}  // namespace moxsdk
