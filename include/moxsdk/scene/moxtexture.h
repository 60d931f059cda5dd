#pragma once
// MoxTexture: a texture that texture layer elements can point to. Only its identity and name matter to
// the geometry component.

#include "moxsdk/scene/moxobject.h"

namespace moxsdk {

class MoxTexture : public MoxObject {
public:
    static const MoxClassId ClassId;
    static MoxTexture* Create(MoxManager* pManager, const char* pName);
    static MoxTexture* Create(MoxObject* pContainer, const char* pName);
    static MoxObject* Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom);

    MoxTexture(MoxManager& pManager, const char* pName);
    MoxClassId GetClassId() const override;
};

}  // namespace moxsdk
