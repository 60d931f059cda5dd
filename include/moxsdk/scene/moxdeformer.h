#pragma once
// MoxDeformer: the base of skins and blend shapes that a geometry lists. Abstract level of the hierarchy.

#include "moxsdk/scene/moxobject.h"

namespace moxsdk {

class MoxDeformer : public MoxObject {
public:
    enum EDeformerType { eUnknown = 0, eSkin = 1, eBlendShape = 2, eVertexCache = 3 };

    static const MoxClassId ClassId;

    MoxDeformer(MoxManager& pManager, const char* pName);
    MoxClassId GetClassId() const override;
    // eUnknown here; each concrete deformer names itself.
    virtual EDeformerType GetDeformerType() const;
};

}  // namespace moxsdk
