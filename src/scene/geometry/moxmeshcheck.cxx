// The mesh's invariant checks.
#include <cstdint>

#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxsdk {

bool MoxMesh::HasWellFormedTopology() const
{
    const PolygonDef* lPolygons = mPolygons.GetArray();
    int64_t lNext = 0;
    for (int p = 0; p < GetPolygonCount(); ++p) {
        if (lPolygons[p].mIndex != lNext || lPolygons[p].mSize < 0) return false;
        lNext += lPolygons[p].mSize;
    }
    if (lNext != GetPolygonVertexCount()) return false;
    const int* lVertices = mPolygonVertices.GetArray();
    const unsigned int lPointCount = static_cast<unsigned int>(GetControlPointsCount());
    for (int i = 0; i < GetPolygonVertexCount(); ++i)
        if (static_cast<unsigned int>(lVertices[i]) >= lPointCount) return false;
    return true;
}

bool MoxMesh::IsWellFormed() const
{
    if (!HasWellFormedTopology()) return false;
    const int* lEdges = mEdgeArray.GetArray();
    const unsigned int lVertexCount = static_cast<unsigned int>(GetPolygonVertexCount());
    for (int e = 0; e < GetMeshEdgeCount(); ++e)
        if (static_cast<unsigned int>(lEdges[e]) >= lVertexCount) return false;
    for (int l = 0; l < GetLayerCount(); ++l) {
        const MoxLayer* lLayer = GetLayer(l);
        if (lLayer && !lLayer->IsSizedFor(GetControlPointsCount(), GetPolygonVertexCount(), GetPolygonCount(),
                                          GetMeshEdgeCount()))
            return false;
    }
    return true;
}

}  // namespace moxsdk
