#pragma once
// MoxNodeAttribute: the base of what a node can carry (meshes, shapes). Abstract level of the hierarchy.

#include "moxsdk/scene/moxobject.h"

namespace moxsdk {

class MoxNodeAttribute : public MoxObject {
public:
    // The kind of attribute. Only eMesh (4) has a fixed number that callers rely on.
    enum EType { eUnknown = 0, eNull = 1, eMarker = 2, eSkeleton = 3, eMesh = 4, eShape = 5, eLine = 6 };

    static const MoxClassId ClassId;

    MoxNodeAttribute(MoxManager& pManager, const char* pName);
    MoxClassId GetClassId() const override;
    // eUnknown here; each concrete attribute class names itself.
    virtual EType GetAttributeType() const;
};

}  // namespace moxsdk
