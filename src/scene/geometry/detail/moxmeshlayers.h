#pragma once
// Layer 0 and its elements as the mesh creates them when missing: the mesh passes itself as owner and
// the empty name, and takes the element back from the layer after installing it, so a channel that a
// layer refuses (or an element that could not be made) gives null rather than a dangling pointer.

#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxsdk {
namespace detail {

// Layer 0, created when the mesh has none; null only when memory ran out.
inline MoxLayer* MoxGetOrCreateLayer0(MoxMesh& pMesh)
{
    MoxLayer* lLayer = pMesh.GetLayer(0);
    return lLayer ? lLayer : pMesh.GetLayer(pMesh.CreateLayer());
}

// A new material element installed on pLayer.
inline MoxLayerElementMaterial* MoxInstallNewMaterials(MoxMesh& pMesh, MoxLayer& pLayer)
{
    pLayer.SetMaterials(MoxLayerElementMaterial::Create(&pMesh, ""));
    return pLayer.GetMaterials();
}

// A new texture element installed on channel pChannel of pLayer.
inline MoxLayerElementTexture* MoxInstallNewTextures(MoxMesh& pMesh, MoxLayer& pLayer, MoxLayerElement::EType pChannel)
{
    pLayer.SetTextures(pChannel, MoxLayerElementTexture::Create(&pMesh, ""));
    return pLayer.GetTextures(pChannel);
}

// The UV set of channel pChannel of pLayer, created and installed when missing.
inline MoxLayerElementUV* MoxGetOrCreateUVSet(MoxMesh& pMesh, MoxLayer& pLayer, MoxLayerElement::EType pChannel)
{
    if (MoxLayerElementUV* lUVs = pLayer.GetUVs(pChannel)) return lUVs;
    pLayer.SetUVs(MoxLayerElementUV::Create(&pMesh, ""), pChannel);
    return pLayer.GetUVs(pChannel);
}

}  // namespace detail
}  // namespace moxsdk
