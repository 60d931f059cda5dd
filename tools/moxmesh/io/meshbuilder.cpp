#include "io/meshbuilder.h"

#include <new>

#include "moxsdk/scene/moxsurfacematerial.h"

namespace moxmeshtool {
namespace {

using moxsdk::MoxLayer;
using moxsdk::MoxLayerElement;
using moxsdk::MoxLayerElementArray;
using moxsdk::MoxLayerElementArrayTemplate;
using moxsdk::MoxMesh;
using moxsdk::MoxVector2;
using moxsdk::MoxVector4;

// Sets pArray to pCount values and returns the locked storage to write them (null for a count of 0).
// Throws std::bad_alloc when the array could not grow.
template <class T>
T* SizeAndLock(MoxLayerElementArrayTemplate<T>& pArray, int pCount)
{
    pArray.SetCount(pCount);
    if (pArray.GetCount() != pCount) throw std::bad_alloc();
    return pCount > 0 ? pArray.GetLocked(MoxLayerElementArray::eReadWriteLock) : nullptr;
}

template <class T>
void Unlock(MoxLayerElementArrayTemplate<T>& pArray, T* pLocked)
{
    if (pLocked) pArray.Release(&pLocked);
}

// Layer pIndex of the mesh, creating the layers up to it.
MoxLayer& LayerAt(MoxMesh& pMesh, int pIndex)
{
    while (pMesh.GetLayerCount() <= pIndex)
        if (pMesh.CreateLayer() < 0) throw std::bad_alloc();
    return *pMesh.GetLayer(pIndex);
}

MoxVector4 VectorValue(const AttributeChannel& pChannel, int pValue)
{
    const double* lValue = pChannel.mValues.data() + static_cast<size_t>(pValue) * pChannel.mComponents;
    return MoxVector4(lValue[0], lValue[1], lValue[2], pChannel.mComponents > 3 ? lValue[3] : 0.0);
}

MoxVector2 UVValue(const AttributeChannel& pChannel, int pValue)
{
    const double* lValue = pChannel.mValues.data() + static_cast<size_t>(pValue) * pChannel.mComponents;
    return MoxVector2(lValue[0], lValue[1]);
}

// Fills an element by polygon vertex, index to direct, from a channel; pValueOf converts one value.
template <class ELEMENT, class CONVERT>
void FillElement(ELEMENT& pElement, const AttributeChannel& pChannel, CONVERT pValueOf)
{
    pElement.SetMappingMode(MoxLayerElement::eByPolygonVertex);
    pElement.SetReferenceMode(MoxLayerElement::eIndexToDirect);
    const int lValueCount = pChannel.ValueCount();
    auto* lValues = SizeAndLock(*pElement.mDirectArray, lValueCount);
    for (int i = 0; i < lValueCount; ++i) lValues[i] = pValueOf(pChannel, i);
    Unlock(*pElement.mDirectArray, lValues);

    const int lIndexCount = static_cast<int>(pChannel.mIndices.size());
    int* lIndices = SizeAndLock(*pElement.mIndexArray, lIndexCount);
    for (int i = 0; i < lIndexCount; ++i) lIndices[i] = pChannel.mIndices[i];
    Unlock(*pElement.mIndexArray, lIndices);
}

// Creates an element with its class's Create, hands it to the layer, then fills it.
template <class ELEMENT, class SETTER, class CONVERT>
void AddElement(MoxMesh& pMesh, MoxLayer& pLayer, SETTER pSet, const AttributeChannel& pChannel, CONVERT pValueOf)
{
    ELEMENT* lElement = ELEMENT::Create(&pMesh, pChannel.mName.c_str());
    if (!lElement) throw std::bad_alloc();
    pSet(pLayer, lElement);
    FillElement(*lElement, pChannel, pValueOf);
}

void SetControlPoints(MoxMesh& pMesh, const MeshData& pData)
{
    const int lCount = static_cast<int>(pData.ControlPointCount());
    pMesh.InitControlPoints(lCount);
    if (pMesh.GetControlPointsCount() != lCount) throw std::bad_alloc();
    MoxVector4* lPoints = pMesh.GetControlPoints();
    for (int i = 0; i < lCount; ++i) {
        const double* lPosition = pData.mPositions.data() + 3 * static_cast<size_t>(i);
        lPoints[i] = MoxVector4(lPosition[0], lPosition[1], lPosition[2]);
    }
}

// The material element is set up before the first polygon, so that polygon building keeps its index
// array in step whatever material the first polygon has.
void SetMaterials(ManagedMesh& pTarget, const MeshData& pData)
{
    if (pData.mMaterialNames.empty()) return;
    MoxMesh& lMesh = pTarget.Mesh();
    auto* lMaterials = moxsdk::MoxLayerElementMaterial::Create(&lMesh, "");
    if (!lMaterials) throw std::bad_alloc();
    LayerAt(lMesh, 0).SetMaterials(lMaterials);
    lMaterials->SetMappingMode(MoxLayerElement::eByPolygon);
    lMaterials->SetReferenceMode(MoxLayerElement::eIndexToDirect);
    for (const std::string& lName : pData.mMaterialNames) {
        auto* lMaterial = moxsdk::MoxSurfaceMaterial::Create(&pTarget.Manager(), lName.c_str());
        if (!lMaterial || lMaterials->mDirectArray->Add(lMaterial) < 0) throw std::bad_alloc();
    }
}

void AddPolygons(MoxMesh& pMesh, const MeshData& pData)
{
    const int lPolygonCount = static_cast<int>(pData.PolygonCount());
    if (!pMesh.mPolygons.Reserve(lPolygonCount) ||
        !pMesh.mPolygonVertices.Reserve(static_cast<int>(pData.PolygonVertexCount())))
        throw std::bad_alloc();
    size_t lCorner = 0;
    for (int lPolygon = 0; lPolygon < lPolygonCount; ++lPolygon) {
        const int lMaterial = pData.mPolygonMaterials.empty() ? -1 : pData.mPolygonMaterials[lPolygon];
        pMesh.BeginPolygon(lMaterial, -1, -1, false);
        for (int k = 0; k < pData.mPolygonSizes[lPolygon]; ++k) pMesh.AddPolygon(pData.mPolygonVertices[lCorner++]);
        pMesh.EndPolygon();
    }
    if (pMesh.GetPolygonVertexCount() != static_cast<int>(lCorner)) throw std::bad_alloc();
}

}  // namespace

void BuildMesh(const MeshData& pData, ManagedMesh& pTarget)
{
    MoxMesh& lMesh = pTarget.Mesh();
    lMesh.Reset();
    SetControlPoints(lMesh, pData);
    SetMaterials(pTarget, pData);
    AddPolygons(lMesh, pData);
    // Layer 0 exists from here on: polygon building made it.
    if (!pData.mNormals.IsEmpty())
        AddElement<moxsdk::MoxLayerElementNormal>(
            lMesh, LayerAt(lMesh, 0), [](MoxLayer& pLayer, auto* pElement) { pLayer.SetNormals(pElement); },
            pData.mNormals, VectorValue);
    for (size_t i = 0; i < pData.mUVSets.size(); ++i)
        AddElement<moxsdk::MoxLayerElementUV>(
            lMesh, LayerAt(lMesh, static_cast<int>(i)),
            [](MoxLayer& pLayer, auto* pElement) { pLayer.SetUVs(pElement, MoxLayerElement::eTextureChannel0); },
            pData.mUVSets[i], UVValue);
    if (!pData.mTangents.IsEmpty())
        AddElement<moxsdk::MoxLayerElementTangent>(
            lMesh, LayerAt(lMesh, 0), [](MoxLayer& pLayer, auto* pElement) { pLayer.SetTangents(pElement); },
            pData.mTangents, VectorValue);
}

}  // namespace moxmeshtool
