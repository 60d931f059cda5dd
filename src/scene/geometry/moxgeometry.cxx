#include "moxsdk/scene/geometry/moxgeometry.h"

namespace moxsdk {

MOX_SCENE_ABSTRACT_CLASS_DEFINITIONS(MoxGeometry, MoxGeometryBase)

MoxGeometry::MoxGeometry(MoxManager& pManager, const char* pName) : MoxGeometryBase(pManager, pName) {}

int MoxGeometry::AddDeformer(MoxDeformer* pDeformer)
{
    return AddReference(mDeformers, pDeformer);
}

MoxDeformer* MoxGeometry::RemoveDeformer(int pIndex)
{
    return RemoveReference(mDeformers, pIndex);
}

int MoxGeometry::GetDeformerCount(MoxDeformer::EDeformerType pType) const
{
    int lCount = 0;
    for (int i = 0; i < mDeformers.GetCount(); ++i)
        if (mDeformers.GetAt(i)->GetDeformerType() == pType) ++lCount;
    return lCount;
}

MoxDeformer* MoxGeometry::GetDeformer(int pIndex, MoxDeformer::EDeformerType pType) const
{
    if (pIndex < 0) return nullptr;
    int lSeen = 0;
    for (int i = 0; i < mDeformers.GetCount(); ++i) {
        MoxDeformer* lDeformer = mDeformers.GetAt(i);
        if (lDeformer->GetDeformerType() != pType) continue;
        if (lSeen == pIndex) return lDeformer;
        ++lSeen;
    }
    return nullptr;
}

void MoxGeometry::Destruct(bool pRecursive)
{
    // The reference records are undone by Destroy (or die with the manager).
    mDeformers.Clear();
    MoxGeometryBase::Destruct(pRecursive);
}

void MoxGeometry::OnReferenceDestroyed(MoxObject* pTarget)
{
    mDeformers.RemoveAll(pTarget);
    MoxGeometryBase::OnReferenceDestroyed(pTarget);
}

}  // namespace moxsdk
