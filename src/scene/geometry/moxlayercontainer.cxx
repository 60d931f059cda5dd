#include "moxsdk/scene/geometry/moxlayercontainer.h"

#include "moxsdk/core/moxassert.h"
#include "scene/detail/moxscenereports.h"

namespace moxsdk {

MOX_SCENE_ABSTRACT_CLASS_DEFINITIONS(MoxLayerContainer, MoxNodeAttribute)

MoxLayerContainer::MoxLayerContainer(MoxManager& pManager, const char* pName) : MoxNodeAttribute(pManager, pName) {}

MoxLayerContainer::~MoxLayerContainer()
{
    ClearLayers();
}

MoxObject& MoxLayerContainer::Copy(const MoxObject& pObject)
{
    if (!Copyable(pObject) || this == &pObject) return *this;
    MoxNodeAttribute::Copy(pObject);
    const MoxLayerContainer& lOther = static_cast<const MoxLayerContainer&>(pObject);
    ClearLayers();
    for (int i = 0; i < lOther.GetLayerCount(); ++i) {
        MoxLayer* lLayer = GetLayer(CreateLayer());
        if (!lLayer) break;
        lLayer->CopyFrom(*lOther.GetLayer(i));
    }
    return *this;
}

void MoxLayerContainer::Compact()
{
    for (int i = 0; i < GetLayerCount(); ++i) GetLayer(i)->Compact();
    MoxNodeAttribute::Compact();
}

int MoxLayerContainer::GetLayerCount(MoxLayerElement::EType pType, bool pUVCount) const
{
    int lCount = 0;
    for (int i = 0; i < GetLayerCount(); ++i)
        if (GetLayer(i)->GetLayerElementOfType(pType, pUVCount)) ++lCount;
    return lCount;
}

MoxLayer* MoxLayerContainer::GetLayer(int pIndex, MoxLayerElement::EType pType, bool pIsUV)
{
    return GetLayer(GetLayerIndex(pIndex, pType, pIsUV));
}

const MoxLayer* MoxLayerContainer::GetLayer(int pIndex, MoxLayerElement::EType pType, bool pIsUV) const
{
    return GetLayer(GetLayerIndex(pIndex, pType, pIsUV));
}

int MoxLayerContainer::GetLayerIndex(int pIndex, MoxLayerElement::EType pType, bool pIsUV) const
{
    if (pIndex < 0) return -1;
    int lSeen = 0;
    for (int i = 0; i < GetLayerCount(); ++i) {
        if (!GetLayer(i)->GetLayerElementOfType(pType, pIsUV)) continue;
        if (lSeen == pIndex) return i;
        ++lSeen;
    }
    return -1;
}

int MoxLayerContainer::CreateLayer()
{
    MoxLayer* lLayer = MoxNew<MoxLayer>();
    if (!lLayer) {
        MOX_REPORT("scene/geometry/moxlayercontainer", detail::layercontainerreports::sgNoLayerMemory.mText);
        return -1;
    }
    const int lIndex = mLayerArray.Add(lLayer);
    if (lIndex < 0) MoxDelete(lLayer);
    return lIndex;
}

void MoxLayerContainer::ClearLayers()
{
    for (int i = 0; i < GetLayerCount(); ++i) MoxDelete(GetLayer(i));
    mLayerArray.Clear();
}

bool MoxLayerContainer::ConvertDirectToIndexToDirect(int pLayer)
{
    MoxLayer* lLayer = GetLayer(pLayer);
    return lLayer && lLayer->ConvertDirectToIndexToDirect();
}

void MoxLayerContainer::Construct(const MoxObject* pFrom)
{
    MoxNodeAttribute::Construct(pFrom);
    ClearLayers();
}

void MoxLayerContainer::Destruct(bool pRecursive)
{
    ClearLayers();
    MoxNodeAttribute::Destruct(pRecursive);
}

}  // namespace moxsdk
