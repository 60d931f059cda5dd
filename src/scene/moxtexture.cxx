#include "moxsdk/scene/moxtexture.h"

namespace moxsdk {

namespace {

constexpr const char* sgFile = "scene/moxtexture";
constexpr MoxClassInfo sgClassInfo{"MoxTexture", &MoxObject::ClassId, &MoxTexture::Allocate};

}  // namespace

const MoxClassId MoxTexture::ClassId(&sgClassInfo);

MoxTexture* MoxTexture::Create(MoxManager* pManager, const char* pName)
{
    return static_cast<MoxTexture*>(CreateObject(ClassId, pManager, pName));
}

MoxTexture* MoxTexture::Create(MoxObject* pContainer, const char* pName)
{
    return static_cast<MoxTexture*>(CreateObjectIn(ClassId, pContainer, pName, sgFile));
}

MoxObject* MoxTexture::Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom)
{
    return AllocateObject<MoxTexture>(pManager, pName, pFrom);
}

MoxTexture::MoxTexture(MoxManager& pManager, const char* pName) : MoxObject(pManager, pName) {}

MoxClassId MoxTexture::GetClassId() const
{
    return ClassId;
}

}  // namespace moxsdk
