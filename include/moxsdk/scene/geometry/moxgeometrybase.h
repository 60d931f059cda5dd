#pragma once
// MoxGeometryBase: control points, and the normal, tangent and binormal elements of the layers.
//
// Normals, tangents and binormals made by the Init operations are direct elements (eDirect):
// a count of 0 means one value per control point (eByControlPoint), a positive count means that many
// values, one per polygon vertex (eByPolygonVertex).

#include "moxsdk/core/base/moxarray.h"
#include "moxsdk/core/math/moxvector4.h"
#include "moxsdk/scene/geometry/moxlayercontainer.h"

namespace moxsdk {

namespace detail {
struct MoxUnwrittenValues;
// What the Init operations of the geometry base leave in a direct array: every value zero, the values
// that stay in range (new ones zero), or no value written (for the library's own generators, which write
// every value before anything reads one).
enum class EMoxInitValues { eZero, eKept, eUnwritten };
}  // namespace detail

class MoxGeometryBase : public MoxLayerContainer {
public:
    static const MoxClassId ClassId;

    MoxGeometryBase(MoxManager& pManager, const char* pName);
    MoxClassId GetClassId() const override;
    // Control points and layers (deep copies) of pObject, when Copyable(pObject).
    MoxObject& Copy(const MoxObject& pObject) override;
    // Shrinks the control point list and every element array.
    void Compact() override;
    // Releases the control points (content that a reader can load again); layers stay.
    void ContentClear() override;

    // Virtual operations of the geometry base, in slot order.
    // pCount control points, all (0, 0, 0, 0); a negative count gives none.
    virtual void InitControlPoints(int pCount);
    // Writes control point pIndex, growing the list to pIndex + 1 (zero points) when needed. A negative
    // index is ignored.
    virtual void SetControlPointAt(const MoxVector4& pCtrlPoint, int pIndex);
    // The same, and writes pNormal for control point pIndex into layer 0's normals
    // (SetControlPointNormalAt).
    virtual void SetControlPointAt(const MoxVector4& pCtrlPoint, const MoxVector4& pNormal, int pIndex,
                                   bool pI2DSearch = false);
    // Control point pIndex, or (0, 0, 0, 0) outside the list.
    virtual MoxVector4 GetControlPointAt(int pIndex) const;
    // Writes the normal of control point pIndex into layer 0's normal element, creating layer 0 and the
    // element (eByControlPoint, eDirect) when missing. eDirect: direct[pIndex] = pNormal. eIndexToDirect:
    // with pI2DSearch the first equal direct value is reused (pNormal is appended when there is none);
    // without, direct[pIndex] = pNormal; either way index[pIndex] points to it. Arrays grow as needed;
    // other entries keep their values (new ones are zero). eIndex elements and negative indices are
    // left alone. The mapping mode is not changed.
    virtual void SetControlPointNormalAt(const MoxVector4& pNormal, int pIndex, bool pI2DSearch = false);
    virtual int GetControlPointsCount() const { return mControlPoints.GetCount(); }
    // The first control point (the list may be written through it), null when there is none.
    virtual MoxVector4* GetControlPoints() const { return mControlPoints.GetArray(); }
    // Sets the number of control points, keeping the first ones; new points are (0, 0, 0, 0). A negative
    // count is ignored.
    virtual void SetControlPointCount(int pCount);
    // Bytes held by the object, its control point storage and its layer records (an estimate).
    virtual size_t MemoryUsage() const;

    // Layer 0's normal element (layer and element created when missing), made direct: pCount 0 sizes it
    // to the control points with eByControlPoint, a positive pCount to pCount values with
    // eByPolygonVertex (a negative count counts as 0). pClearMode 1 zeroes every value; 0 keeps the
    // values that stay in range. The index array is emptied. An existing element is reused (an emptied
    // one is sized anew).
    void InitNormals(int pCount = 0, int pClearMode = 1);
    // The direct array of layer 0's normals: true when the element exists and is eDirect or
    // eIndexToDirect. *pNormals is null on false. False for a null argument.
    bool GetNormals(MoxLayerElementArrayTemplate<MoxVector4>** pNormals) const;
    // The index array of layer 0's normals: true when the element exists and is eIndex or eIndexToDirect.
    bool GetNormalsIndices(MoxLayerElementArrayTemplate<int>** pIndices) const;

    // The tangent / binormal element of layer pLayerIndex, named pName (layers up to pLayerIndex are
    // created when missing; a negative index does nothing): pCount zeroed direct values mapped by polygon
    // vertex, none for a count of 0 or less (unlike InitNormals, a count of 0 never means one value per
    // control point). The index array is emptied; an existing element is reused.
    void InitTangents(int pCount = 0, int pLayerIndex = 0, const char* pName = "");
    void InitBinormals(int pCount = 0, int pLayerIndex = 0, const char* pName = "");
    bool GetTangents(MoxLayerElementArrayTemplate<MoxVector4>** pTangents, int pLayerIndex = 0) const;
    bool GetTangentsIndices(MoxLayerElementArrayTemplate<int>** pIndices, int pLayerIndex = 0) const;
    bool GetBinormals(MoxLayerElementArrayTemplate<MoxVector4>** pBinormals, int pLayerIndex = 0) const;
    bool GetBinormalsIndices(MoxLayerElementArrayTemplate<int>** pIndices, int pLayerIndex = 0) const;

    // The i-th element of a kind counts, in layer order, the layers that hold one; null past the last.
    int GetElementNormalCount() const;
    MoxLayerElementNormal* GetElementNormal(int pIndex = 0);
    const MoxLayerElementNormal* GetElementNormal(int pIndex = 0) const;
    int GetElementTangentCount() const;
    MoxLayerElementTangent* GetElementTangent(int pIndex = 0);
    const MoxLayerElementTangent* GetElementTangent(int pIndex = 0) const;
    int GetElementBinormalCount() const;
    MoxLayerElementBinormal* GetElementBinormal(int pIndex = 0);
    const MoxLayerElementBinormal* GetElementBinormal(int pIndex = 0) const;
    int GetElementSmoothingCount() const;
    MoxLayerElementSmoothing* GetElementSmoothing(int pIndex = 0);
    const MoxLayerElementSmoothing* GetElementSmoothing(int pIndex = 0) const;
    int GetElementVertexColorCount() const;
    MoxLayerElementVertexColor* GetElementVertexColor(int pIndex = 0);
    const MoxLayerElementVertexColor* GetElementVertexColor(int pIndex = 0) const;
    int GetElementMaterialCount() const;
    MoxLayerElementMaterial* GetElementMaterial(int pIndex = 0);
    const MoxLayerElementMaterial* GetElementMaterial(int pIndex = 0) const;

    // The number of UV sets: over all layers and channels for eUnknown, else the layers holding a UV set
    // on channel pType.
    int GetElementUVCount(MoxLayerElement::EType pType = MoxLayerElement::eUnknown) const;
    // The first UV set, layers in order and channels 14 .. 30 in order, whose name equals pUVSetName; a
    // null name gives the first UV set. Null when there is none.
    MoxLayerElementUV* GetElementUV(const char* pUVSetName = nullptr);
    const MoxLayerElementUV* GetElementUV(const char* pUVSetName = nullptr) const;

protected:
    void Construct(const MoxObject* pFrom) override;
    void Destruct(bool pRecursive) override;

    // The control point list. Derived geometry may empty it directly.
    MoxArray<MoxVector4> mControlPoints;

private:
    friend struct detail::MoxUnwrittenValues;

    // The Init operations with their values as pValues says.
    void InitNormals(int pCount, detail::EMoxInitValues pValues);
    void InitTangents(int pCount, int pLayerIndex, const char* pName, detail::EMoxInitValues pValues);
    void InitBinormals(int pCount, int pLayerIndex, const char* pName, detail::EMoxInitValues pValues);

    // Layer pIndex, creating the layers up to it when missing; null for a negative index or when memory ran out.
    MoxLayer* LayerAt(int pIndex);
    // Grows the control points to pCount (more than the count), new ones zero; false when memory ran out.
    bool GrowControlPoints(int pCount);
};

}  // namespace moxsdk
