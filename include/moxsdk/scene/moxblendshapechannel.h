#pragma once
// MoxBlendShapeChannel: one channel of a blend shape, an ordered list of target shapes, each with the
// deform percent at which it is fully applied, and the channel's current deform percent.

#include "moxsdk/core/base/moxarray.h"
#include "moxsdk/core/base/moxpointerlist.h"
#include "moxsdk/scene/moxobject.h"

namespace moxsdk {

class MoxShape;

class MoxBlendShapeChannel : public MoxObject {
public:
    static const MoxClassId ClassId;
    static MoxBlendShapeChannel* Create(MoxManager* pManager, const char* pName);
    static MoxBlendShapeChannel* Create(MoxObject* pContainer, const char* pName);
    static MoxObject* Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom);

    MoxBlendShapeChannel(MoxManager& pManager, const char* pName);
    MoxClassId GetClassId() const override;
    // Copies the deform percent; target shapes are connections and are not copied.
    MoxObject& Copy(const MoxObject& pObject) override;

    // Appends a target shape with its full-deform percent. False for null, for a shape already in the
    // list, or when memory ran out (the lists are left as they were).
    bool AddTargetShape(MoxShape* pShape, double pFullDeformPercent = 100.0);
    // Removes the shape and its percent; returns it, or null when it was not there.
    MoxShape* RemoveTargetShape(MoxShape* pShape);
    int GetTargetShapeCount() const { return mShapes.GetCount(); }
    // Shape pIndex, or null outside the list.
    MoxShape* GetTargetShape(int pIndex) const;
    // The full-deform percents, parallel to the shapes; null when there is none.
    double* GetTargetShapeFullWeights() const
    {
        return mFullWeights.GetCount() > 0 ? mFullWeights.GetArray() : nullptr;
    }

    void SetDeformPercent(double pPercent) { mDeformPercent = pPercent; }
    double GetDeformPercent() const { return mDeformPercent; }

protected:
    void Construct(const MoxObject* pFrom) override;
    void Destruct(bool pRecursive) override;
    void OnReferenceDestroyed(MoxObject* pTarget) override;

private:
    // Appends to the percents; false, list unchanged, when memory ran out.
    bool AddFullWeight(double pPercent);
    // Removes entry pIndex of both lists.
    void RemoveEntry(int pIndex);

    MoxPointerList<MoxShape> mShapes;
    MoxArray<double> mFullWeights;
    double mDeformPercent = 0.0;
};

}  // namespace moxsdk
