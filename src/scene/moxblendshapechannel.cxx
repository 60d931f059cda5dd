#include "moxsdk/scene/moxblendshapechannel.h"

#include "moxsdk/scene/moxshape.h"

namespace moxsdk {

MOX_SCENE_OBJECT_DEFINITIONS(MoxBlendShapeChannel, MoxObject, "scene/moxblendshapechannel")

MoxBlendShapeChannel::MoxBlendShapeChannel(MoxManager& pManager, const char* pName) : MoxObject(pManager, pName) {}

MoxObject& MoxBlendShapeChannel::Copy(const MoxObject& pObject)
{
    if (!Copyable(pObject)) return *this;
    MoxObject::Copy(pObject);
    mDeformPercent = static_cast<const MoxBlendShapeChannel&>(pObject).mDeformPercent;
    return *this;
}

bool MoxBlendShapeChannel::AddTargetShape(MoxShape* pShape, double pFullDeformPercent)
{
    if (!pShape || mShapes.Find(pShape) >= 0) return false;
    if (!ConnectReference(pShape)) return false;
    if (!AddFullWeight(pFullDeformPercent) || mShapes.Add(pShape) < 0) {
        if (mFullWeights.GetCount() > mShapes.GetCount()) mFullWeights.RemoveAt(mFullWeights.GetCount() - 1);
        DisconnectReference(pShape);
        return false;
    }
    return true;
}

bool MoxBlendShapeChannel::AddFullWeight(double pPercent)
{
    // A failed MoxArray growth empties the array, so a full list grows through a copy that replaces it
    // only on success.
    const int lCount = mFullWeights.GetCount();
    if (mFullWeights.GetCapacity() > lCount) return mFullWeights.Add(pPercent) == lCount;
    MoxArray<double> lWeights(mFullWeights);
    if (lWeights.GetCount() != lCount || lWeights.Add(pPercent) != lCount) return false;
    mFullWeights = static_cast<MoxArray<double>&&>(lWeights);
    return true;
}

MoxShape* MoxBlendShapeChannel::RemoveTargetShape(MoxShape* pShape)
{
    const int lIndex = mShapes.Find(pShape);
    if (lIndex < 0) return nullptr;
    RemoveEntry(lIndex);
    DisconnectReference(pShape);
    return pShape;
}

MoxShape* MoxBlendShapeChannel::GetTargetShape(int pIndex) const
{
    return mShapes.GetAt(pIndex);
}

void MoxBlendShapeChannel::Construct(const MoxObject* pFrom)
{
    MoxObject::Construct(pFrom);
    mDeformPercent = 0.0;
}

void MoxBlendShapeChannel::Destruct(bool pRecursive)
{
    // The reference records are undone by Destroy (or die with the manager).
    mShapes.Clear();
    mFullWeights.Clear();
    MoxObject::Destruct(pRecursive);
}

void MoxBlendShapeChannel::OnReferenceDestroyed(MoxObject* pTarget)
{
    for (int i = mShapes.GetCount() - 1; i >= 0; --i)
        if (mShapes.GetAt(i) == pTarget) RemoveEntry(i);
    MoxObject::OnReferenceDestroyed(pTarget);
}

void MoxBlendShapeChannel::RemoveEntry(int pIndex)
{
    mShapes.RemoveAt(pIndex);
    if (pIndex < mFullWeights.GetCount()) mFullWeights.RemoveAt(pIndex);
}

}  // namespace moxsdk
