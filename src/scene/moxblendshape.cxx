#include "moxsdk/scene/moxblendshape.h"

#include "moxsdk/scene/moxblendshapechannel.h"

namespace moxsdk {

MOX_SCENE_OBJECT_DEFINITIONS(MoxBlendShape, MoxDeformer, "scene/moxblendshape")

MoxBlendShape::MoxBlendShape(MoxManager& pManager, const char* pName) : MoxDeformer(pManager, pName) {}

bool MoxBlendShape::AddBlendShapeChannel(MoxBlendShapeChannel* pChannel)
{
    return AddReference(mChannels, pChannel) >= 0;
}

MoxBlendShapeChannel* MoxBlendShape::RemoveBlendShapeChannel(MoxBlendShapeChannel* pChannel)
{
    return RemoveReference(mChannels, mChannels.Find(pChannel));
}

MoxBlendShapeChannel* MoxBlendShape::GetBlendShapeChannel(int pIndex) const
{
    return mChannels.GetAt(pIndex);
}

void MoxBlendShape::Destruct(bool pRecursive)
{
    // The reference records are undone by Destroy (or die with the manager).
    mChannels.Clear();
    MoxDeformer::Destruct(pRecursive);
}

void MoxBlendShape::OnReferenceDestroyed(MoxObject* pTarget)
{
    mChannels.RemoveAll(pTarget);
    MoxDeformer::OnReferenceDestroyed(pTarget);
}

}  // namespace moxsdk
