#include "pipeline/edgetopology.h"

namespace moxmeshtool {

bool EdgePolygons(const moxsdk::MoxMesh::ComponentMap& pEdgeToPolygons, int pEdge, const int*& pPolygons, int& pCount)
{
    pPolygons = nullptr;
    pCount = 0;
    const int lOffsetCount = pEdgeToPolygons.mOffsets.GetCount();
    if (pEdge < 0 || pEdge + 1 >= lOffsetCount) return false;
    const int lBegin = pEdgeToPolygons.mOffsets.GetArray()[pEdge];
    const int lEnd = pEdgeToPolygons.mOffsets.GetArray()[pEdge + 1];
    if (lBegin < 0 || lEnd < lBegin || lEnd > pEdgeToPolygons.mData.GetCount()) return false;
    pPolygons = pEdgeToPolygons.mData.GetArray() + lBegin;
    pCount = lEnd - lBegin;
    return true;
}

EdgeCounts CountEdges(const moxsdk::MoxMesh::ComponentMap& pEdgeToPolygons, int pEdgeCount)
{
    EdgeCounts lCounts;
    lCounts.mEdges = pEdgeCount;
    for (int e = 0; e < pEdgeCount; ++e) {
        const int* lPolygons = nullptr;
        int lCount = 0;
        EdgePolygons(pEdgeToPolygons, e, lPolygons, lCount);
        if (lCount == 0)
            ++lCounts.mIsolated;
        else if (lCount == 1)
            ++lCounts.mBoundary;
        else if (lCount == 2)
            ++lCounts.mManifold;
        else
            ++lCounts.mNonManifold;
    }
    return lCounts;
}

}  // namespace moxmeshtool
