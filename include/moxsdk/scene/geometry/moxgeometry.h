#pragma once
// MoxGeometry: a geometry base with an ordered list of deformers (skins, blend shapes).

#include "moxsdk/core/base/moxpointerlist.h"
#include "moxsdk/scene/geometry/moxgeometrybase.h"
#include "moxsdk/scene/moxdeformer.h"

namespace moxsdk {

class MoxGeometry : public MoxGeometryBase {
public:
    static const MoxClassId ClassId;

    MoxGeometry(MoxManager& pManager, const char* pName);
    MoxClassId GetClassId() const override;

    // Appends a deformer; returns its index, or -1 for null, for a deformer already in the list, or when
    // memory ran out. The deformer stays owned by its manager; destroying it removes it from the list.
    int AddDeformer(MoxDeformer* pDeformer);
    // Removes deformer pIndex from the list and returns it; null outside the list.
    MoxDeformer* RemoveDeformer(int pIndex);
    int GetDeformerCount() const { return mDeformers.GetCount(); }
    // The number of deformers of type pType.
    int GetDeformerCount(MoxDeformer::EDeformerType pType) const;
    // Deformer pIndex, or null outside the list.
    MoxDeformer* GetDeformer(int pIndex) const { return mDeformers.GetAt(pIndex); }
    // Among the deformers of type pType, the pIndex-th in list order; null when there are not that many.
    MoxDeformer* GetDeformer(int pIndex, MoxDeformer::EDeformerType pType) const;

protected:
    void Destruct(bool pRecursive) override;
    void OnReferenceDestroyed(MoxObject* pTarget) override;

private:
    MoxPointerList<MoxDeformer> mDeformers;
};

}  // namespace moxsdk
