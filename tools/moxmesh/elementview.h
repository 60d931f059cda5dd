#pragma once
// ElementView: range-checked reading of one layer element's value per polygon vertex, whatever the
// element's mapping and reference modes.
//
// The element's arrays are locked for reading once, when the view is made, and released when it goes:
// a loop over millions of polygon vertices then reads two plain arrays. A polygon vertex whose value
// cannot be had (a mapping that is not per control point, polygon vertex, polygon or mesh; an index or a
// value out of range; an index of -1) is reported as missing, never read out of bounds.

#include "moxsdk/scene/geometry/moxlayer.h"

namespace moxmeshtool {

template <class T>
class ElementView {
public:
    // An absent element: every value is missing.
    ElementView() = default;
    explicit ElementView(moxsdk::MoxLayerElementTemplate<T>* pElement) : mElement(pElement)
    {
        if (!mElement) return;
        mMapping = mElement->GetMappingMode();
        mReference = mElement->GetReferenceMode();
        mDirect = Lock(*mElement->mDirectArray, mDirectCount);
        if (mReference != moxsdk::MoxLayerElement::eDirect) mIndices = Lock(*mElement->mIndexArray, mIndexCount);
    }
    ~ElementView()
    {
        if (mDirect) mElement->mDirectArray->Release(&mDirect);
        if (mIndices) mElement->mIndexArray->Release(&mIndices);
    }
    ElementView(const ElementView&) = delete;
    ElementView& operator=(const ElementView&) = delete;

    bool IsPresent() const { return mElement != nullptr; }
    moxsdk::MoxLayerElement::EMappingMode Mapping() const { return mMapping; }

    // The value of polygon vertex pPolygonVertex, which belongs to polygon pPolygon and lies at control
    // point pControlPoint. False when it has none.
    bool Get(int pPolygon, int pPolygonVertex, int pControlPoint, T& pValue) const
    {
        int lComponent = Component(pPolygon, pPolygonVertex, pControlPoint);
        if (lComponent < 0) return false;
        if (mReference == moxsdk::MoxLayerElement::eIndex) return false;  // integers only, no values
        if (mReference == moxsdk::MoxLayerElement::eIndexToDirect) {
            if (lComponent >= mIndexCount) return false;
            lComponent = mIndices[lComponent];
        }
        if (lComponent < 0 || lComponent >= mDirectCount) return false;
        pValue = mDirect[lComponent];
        return true;
    }

private:
    template <class V>
    static V* Lock(moxsdk::MoxLayerElementArrayTemplate<V>& pArray, int& pCount)
    {
        V* lData = pArray.GetLocked(moxsdk::MoxLayerElementArray::eReadLock);
        pCount = lData ? pArray.GetCount() : 0;
        return lData;
    }

    int Component(int pPolygon, int pPolygonVertex, int pControlPoint) const
    {
        switch (mMapping) {
            case moxsdk::MoxLayerElement::eByControlPoint:
                return pControlPoint;
            case moxsdk::MoxLayerElement::eByPolygonVertex:
                return pPolygonVertex;
            case moxsdk::MoxLayerElement::eByPolygon:
                return pPolygon;
            case moxsdk::MoxLayerElement::eByMesh:
                return 0;
            default:
                return -1;
        }
    }

    moxsdk::MoxLayerElementTemplate<T>* mElement = nullptr;
    moxsdk::MoxLayerElement::EMappingMode mMapping = moxsdk::MoxLayerElement::eNone;
    moxsdk::MoxLayerElement::EReferenceMode mReference = moxsdk::MoxLayerElement::eDirect;
    T* mDirect = nullptr;
    int mDirectCount = 0;
    int* mIndices = nullptr;
    int mIndexCount = 0;
};

}  // namespace moxmeshtool
