#pragma once
// MoxSurfaceMaterial: a material that material layer elements can point to. Only its identity and name
// matter to the geometry component.

#include "moxsdk/scene/moxobject.h"

namespace moxsdk {

class MoxSurfaceMaterial : public MoxObject {
public:
    static const MoxClassId ClassId;
    static MoxSurfaceMaterial* Create(MoxManager* pManager, const char* pName);
    static MoxSurfaceMaterial* Create(MoxObject* pContainer, const char* pName);
    static MoxObject* Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom);

    MoxSurfaceMaterial(MoxManager& pManager, const char* pName);
    MoxClassId GetClassId() const override;
};

}  // namespace moxsdk
