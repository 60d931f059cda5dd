// TEMPORARY (tangents branch only): minimal per-polygon-vertex lookups so that tangent generation links
// and can be tested before the real ones (moxmeshlayers.cxx) are merged. DROP THIS FILE AT MERGE, with its
// line in sources.cmake.

#include "moxsdk/core/moxassert.h"
#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxsdk {
namespace {
constexpr const char* sgFile = "scene/geometry/moxmesh";
}  // namespace

template <class T>
bool MoxMesh::GetPolygonVertexLayerElementIndex(const MoxLayerElementTemplate<T>* pElement, int pPolygonIndex,
                                                int pPositionInPolygon, int& pIndex) const
{
    const char* lFunction = "GetPolygonVertexLayerElementIndex";
    pIndex = -1;
    if (pPolygonIndex < 0 || pPolygonIndex >= mPolygons.GetCount()) return false;
    const PolygonDef& lPolygon = mPolygons.GetArray()[pPolygonIndex];
    if (pPositionInPolygon < 0 || pPositionInPolygon >= lPolygon.mSize) return false;
    int lComponent = -1;
    switch (pElement->GetMappingMode()) {
        case MoxLayerElement::eByPolygonVertex:
            lComponent = lPolygon.mIndex + pPositionInPolygon;
            break;
        case MoxLayerElement::eByPolygon:
            lComponent = pPolygonIndex;
            break;
        case MoxLayerElement::eByControlPoint: {
            const int lPolygonVertex = lPolygon.mIndex + pPositionInPolygon;
            if (lPolygonVertex < 0 || lPolygonVertex >= mPolygonVertices.GetCount()) {
                _MoxAssert(sgFile, lFunction, __LINE__, "index into mPolygonVertices out-of-range");
                return false;
            }
            lComponent = mPolygonVertices.GetArray()[lPolygonVertex];
            break;
        }
        default:
            _MoxAssert(sgFile, lFunction, __LINE__, "MappingMode not supported");
            return false;
    }
    if (pElement->GetReferenceMode() != MoxLayerElement::eDirect) {
        const MoxLayerElementArrayTemplate<int>& lIndices = *pElement->mIndexArray;
        if (lComponent < 0 || lComponent >= lIndices.GetCount()) {
            _MoxAssert(sgFile, lFunction, __LINE__, "index into IndexArray out-of-range");
            return false;
        }
        lComponent = lIndices.GetAt(lComponent);
    }
    pIndex = lComponent;
    return true;
}

template <class T>
bool MoxMesh::GetPolygonVertexLayerElementValue(const MoxLayerElementTemplate<T>* pElement, int pPolygonIndex,
                                                int pPositionInPolygon, T& pValue, bool pAllowUnmapped) const
{
    int lIndex = -1;
    if (!GetPolygonVertexLayerElementIndex(pElement, pPolygonIndex, pPositionInPolygon, lIndex)) return false;
    const MoxLayerElementArrayTemplate<T>& lDirect = *pElement->mDirectArray;
    if (lIndex < 0 || lIndex >= lDirect.GetCount()) {
        if (pAllowUnmapped && lIndex == -1) return true;
        _MoxAssert(sgFile, "GetPolygonVertexLayerElementValue", __LINE__, "index into DirectArray out-of-range");
        return false;
    }
    pValue = lDirect.GetAt(lIndex);
    return true;
}

template bool MoxMesh::GetPolygonVertexLayerElementIndex<MoxVector2>(const MoxLayerElementTemplate<MoxVector2>*, int,
                                                                     int, int&) const;
template bool MoxMesh::GetPolygonVertexLayerElementIndex<MoxVector4>(const MoxLayerElementTemplate<MoxVector4>*, int,
                                                                     int, int&) const;
template bool MoxMesh::GetPolygonVertexLayerElementValue<MoxVector2>(const MoxLayerElementTemplate<MoxVector2>*, int,
                                                                     int, MoxVector2&, bool) const;
template bool MoxMesh::GetPolygonVertexLayerElementValue<MoxVector4>(const MoxLayerElementTemplate<MoxVector4>*, int,
                                                                     int, MoxVector4&, bool) const;

bool MoxMesh::GetPolygonVertexNormal(int pPolyIndex, int pVertexIndex, MoxVector4& pNormal) const
{
    const MoxLayerElementNormal* lNormals = GetElementNormal(0);
    return lNormals && GetPolygonVertexLayerElementValue(lNormals, pPolyIndex, pVertexIndex, pNormal, false);
}

bool MoxMesh::GetPolygonVertexUV(int pPolyIndex, int pVertexIndex, const char* pUVSetName, MoxVector2& pUV,
                                 bool& pUnmapped) const
{
    const MoxLayerElementUV* lUVs = GetElementUV(pUVSetName);
    if (!lUVs) return false;
    int lIndex = -1;
    if (!GetPolygonVertexLayerElementIndex(lUVs, pPolyIndex, pVertexIndex, lIndex)) return false;
    pUnmapped = lIndex == -1;
    return GetPolygonVertexLayerElementValue(lUVs, pPolyIndex, pVertexIndex, pUV, true);
}

// Used by the benchmark support (FillMoxMesh).
void MoxMesh::InitTextureUV(int pCount, MoxLayerElement::EType pTypeIdentifier)
{
    MoxLayer* lLayer = GetLayer(0) ? GetLayer(0) : GetLayer(CreateLayer());
    if (!lLayer) return;
    MoxLayerElementUV* lUVs = lLayer->GetUVs(pTypeIdentifier);
    if (!lUVs) {
        lUVs = MoxLayerElementUV::Create(this, "");
        lLayer->SetUVs(lUVs, pTypeIdentifier);
    }
    if (!lUVs) return;
    lUVs->mDirectArray->Clear();
    lUVs->mDirectArray->SetCount(pCount);
}

bool MoxMesh::GetTextureUV(MoxLayerElementArrayTemplate<MoxVector2>** pUVs,
                           MoxLayerElement::EType pTypeIdentifier) const
{
    if (!pUVs) return false;
    *pUVs = nullptr;
    const MoxLayer* lLayer = GetLayer(0);
    const MoxLayerElementUV* lUVs = lLayer ? lLayer->GetUVs(pTypeIdentifier) : nullptr;
    if (!lUVs) return false;
    *pUVs = lUVs->mDirectArray;
    return true;
}

}  // namespace moxsdk
