#include "moxsdk/scene/moxsurfacematerial.h"

namespace moxsdk {

namespace {

constexpr const char* sgFile = "scene/moxsurfacematerial";
constexpr MoxClassInfo sgClassInfo{"MoxSurfaceMaterial", &MoxObject::ClassId, &MoxSurfaceMaterial::Allocate};

}  // namespace

const MoxClassId MoxSurfaceMaterial::ClassId(&sgClassInfo);

MoxSurfaceMaterial* MoxSurfaceMaterial::Create(MoxManager* pManager, const char* pName)
{
    return static_cast<MoxSurfaceMaterial*>(CreateObject(ClassId, pManager, pName));
}

MoxSurfaceMaterial* MoxSurfaceMaterial::Create(MoxObject* pContainer, const char* pName)
{
    return static_cast<MoxSurfaceMaterial*>(CreateObjectIn(ClassId, pContainer, pName, sgFile));
}

MoxObject* MoxSurfaceMaterial::Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom)
{
    return AllocateObject<MoxSurfaceMaterial>(pManager, pName, pFrom);
}

MoxSurfaceMaterial::MoxSurfaceMaterial(MoxManager& pManager, const char* pName) : MoxObject(pManager, pName) {}

MoxClassId MoxSurfaceMaterial::GetClassId() const
{
    return ClassId;
}

}  // namespace moxsdk
