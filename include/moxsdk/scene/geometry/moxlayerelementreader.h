#pragma once
// MoxLayerElementReader: reading one layer element's values corner by corner, whatever its mapping and
// reference modes, with every index range-checked.
//
// The element's modes and arrays are resolved once, when the reader is bound; a loop over millions of
// corners then reads two plain arrays. A read goes in three steps, which callers with their own fallback
// (a checked lookup that reports, say) can take one at a time:
//   Component  the corner's place in the element's mapping: its control point, polygon vertex or polygon,
//              0 for an element mapped by mesh, -1 for a mapping with no value per corner (none, by edge);
//   TryIndex   the component's index into the direct array: the component itself for direct reference,
//              else the index array's entry there (which may be -1 or past the direct array);
//   Value      the direct array's value at an index, when the index is inside it.
// Nothing is reported: a value that cannot be had is simply missing. The reader holds plain pointers into
// the element's arrays: it must not outlive them, nor be used across a change of their size.

#include <cstdint>

#include "moxsdk/scene/geometry/moxlayer.h"

namespace moxsdk {

template <class T>
class MoxLayerElementReader {
public:
    // An absent element: nothing is mapped.
    MoxLayerElementReader() = default;
    explicit MoxLayerElementReader(const MoxLayerElementTemplate<T>* pElement) { Bind(pElement); }

    // Resolves pElement's modes and arrays (null: absent).
    void Bind(const MoxLayerElementTemplate<T>* pElement)
    {
        *this = MoxLayerElementReader();
        mElement = pElement;
        if (!pElement) return;
        mMapping = pElement->GetMappingMode();
        mReference = pElement->GetReferenceMode();
        mDirect = static_cast<const T*>(pElement->mDirectArray->GetReference(0, MoxTypeCodeOf<T>::value));
        mDirectCount = mDirect ? pElement->mDirectArray->GetCount() : 0;
        mIndices = static_cast<const int*>(pElement->mIndexArray->GetReference(0, eMoxInt));
        mIndexCount = mIndices ? pElement->mIndexArray->GetCount() : 0;
    }

    const MoxLayerElementTemplate<T>* GetElement() const { return mElement; }
    bool IsPresent() const { return mElement != nullptr; }
    MoxLayerElement::EMappingMode GetMappingMode() const { return mMapping; }
    MoxLayerElement::EReferenceMode GetReferenceMode() const { return mReference; }
    const T* GetDirect() const { return mDirect; }
    int GetDirectCount() const { return mDirectCount; }

    // The component of the corner at polygon vertex pPolygonVertex (a running index into the polygon
    // vertices) of polygon pPolygon, lying at control point pControlPoint; -1 when the mapping has none.
    int64_t Component(int pPolygon, int64_t pPolygonVertex, int pControlPoint) const
    {
        switch (mMapping) {
            case MoxLayerElement::eByControlPoint:
                return pControlPoint;
            case MoxLayerElement::eByPolygonVertex:
                return pPolygonVertex;
            case MoxLayerElement::eByPolygon:
                return pPolygon;
            case MoxLayerElement::eByMesh:
                return 0;
            default:
                return -1;
        }
    }

    // The direct-array index of component pComponent into pIndex; false when there is none to read (a
    // negative component, or one past the index array). The index itself is not checked.
    bool TryIndex(int64_t pComponent, int& pIndex) const
    {
        if (pComponent < 0) return false;
        if (mReference == MoxLayerElement::eDirect) {
            if (pComponent > INT32_MAX) return false;
            pIndex = static_cast<int>(pComponent);
            return true;
        }
        if (pComponent >= mIndexCount) return false;
        pIndex = mIndices[pComponent];
        return true;
    }

    // The direct-array index of component pComponent, or -1 when there is none.
    int IndexOf(int64_t pComponent) const
    {
        int lIndex = -1;
        return TryIndex(pComponent, lIndex) ? lIndex : -1;
    }

    // The direct array's value at pIndex; false, pValue untouched, when pIndex is outside it.
    bool Value(int pIndex, T& pValue) const
    {
        if (pIndex < 0 || pIndex >= mDirectCount) return false;
        pValue = mDirect[pIndex];
        return true;
    }

    // The three steps at once. An element of reference mode eIndex holds integers, not values: false.
    bool Get(int pPolygon, int64_t pPolygonVertex, int pControlPoint, T& pValue) const
    {
        return mReference != MoxLayerElement::eIndex &&
               Value(IndexOf(Component(pPolygon, pPolygonVertex, pControlPoint)), pValue);
    }

private:
    const MoxLayerElementTemplate<T>* mElement = nullptr;
    MoxLayerElement::EMappingMode mMapping = MoxLayerElement::eNone;
    MoxLayerElement::EReferenceMode mReference = MoxLayerElement::eDirect;
    const T* mDirect = nullptr;
    int mDirectCount = 0;
    const int* mIndices = nullptr;
    int mIndexCount = 0;
};

}  // namespace moxsdk
