#pragma once
// MoxLayerContainer: an ordered list of layers; layer i is entry i. Layer 0 is the main layer.

#include "moxsdk/core/base/moxpointerlist.h"
#include "moxsdk/scene/geometry/moxlayer.h"
#include "moxsdk/scene/moxnodeattribute.h"

namespace moxsdk {

class MoxLayerContainer : public MoxNodeAttribute {
public:
    static const MoxClassId ClassId;

    MoxLayerContainer(MoxManager& pManager, const char* pName);
    MoxLayerContainer(const MoxLayerContainer&) = delete;
    MoxLayerContainer& operator=(const MoxLayerContainer&) = delete;
    ~MoxLayerContainer() override;
    MoxClassId GetClassId() const override;
    // Replaces the layers by deep copies of pObject's layers when Copyable(pObject).
    MoxObject& Copy(const MoxObject& pObject) override;
    // Shrinks every element array of every layer.
    void Compact() override;

    int GetLayerCount() const { return mLayerArray.GetCount(); }
    // The number of layers that hold an element of pType (for texture channel types: a UV set on that
    // channel when pUVCount is true, a texture element otherwise; for eUV: any UV set).
    int GetLayerCount(MoxLayerElement::EType pType, bool pUVCount = false) const;

    // Layer pIndex, or null outside 0 .. count - 1.
    MoxLayer* GetLayer(int pIndex) { return mLayerArray.GetAt(pIndex); }
    const MoxLayer* GetLayer(int pIndex) const { return mLayerArray.GetAt(pIndex); }
    // Among the layers that hold an element of pType (as for GetLayerCount), the pIndex-th in layer
    // order; null when there are not that many. O(layers).
    MoxLayer* GetLayer(int pIndex, MoxLayerElement::EType pType, bool pIsUV = false);
    const MoxLayer* GetLayer(int pIndex, MoxLayerElement::EType pType, bool pIsUV = false) const;
    // The container index of that layer, or -1.
    int GetLayerIndex(int pIndex, MoxLayerElement::EType pType, bool pIsUV = false) const;

    // Appends an empty layer and returns its index; -1 when memory ran out (a layer that cannot be had is
    // reported as "lLayer", file "scene/geometry/moxlayercontainer").
    int CreateLayer();
    // Destroys every layer and its elements.
    void ClearLayers();
    // Rewrites the eDirect elements of layer pLayer into eIndexToDirect with identity index arrays (the
    // element kinds MoxLayer::ConvertDirectToIndexToDirect lists). False for a missing layer or when
    // memory ran out.
    bool ConvertDirectToIndexToDirect(int pLayer);

protected:
    void Construct(const MoxObject* pFrom) override;
    void Destruct(bool pRecursive) override;

    MoxPointerList<MoxLayer> mLayerArray;  // owned
};

}  // namespace moxsdk
