#include "moxsdk/scene/moxblendshape.h"

#include "moxsdk/scene/moxblendshapechannel.h"

namespace moxsdk {

namespace {

constexpr const char* sgFile = "scene/moxblendshape";
constexpr MoxClassInfo sgClassInfo{"MoxBlendShape", &MoxDeformer::ClassId, &MoxBlendShape::Allocate};

}  // namespace

const MoxClassId MoxBlendShape::ClassId(&sgClassInfo);

MoxBlendShape* MoxBlendShape::Create(MoxManager* pManager, const char* pName)
{
    return static_cast<MoxBlendShape*>(CreateObject(ClassId, pManager, pName));
}

MoxBlendShape* MoxBlendShape::Create(MoxObject* pContainer, const char* pName)
{
    return static_cast<MoxBlendShape*>(CreateObjectIn(ClassId, pContainer, pName, sgFile));
}

MoxObject* MoxBlendShape::Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom)
{
    return AllocateObject<MoxBlendShape>(pManager, pName, pFrom);
}

MoxBlendShape::MoxBlendShape(MoxManager& pManager, const char* pName) : MoxDeformer(pManager, pName) {}

MoxClassId MoxBlendShape::GetClassId() const
{
    return ClassId;
}

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
