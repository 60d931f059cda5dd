#include "moxsdk/scene/moxshape.h"

namespace moxsdk {

namespace {

constexpr const char* sgFile = "scene/moxshape";
constexpr MoxClassInfo sgClassInfo{"MoxShape", &MoxGeometryBase::ClassId, &MoxShape::Allocate};

}  // namespace

const MoxClassId MoxShape::ClassId(&sgClassInfo);

MoxShape* MoxShape::Create(MoxManager* pManager, const char* pName)
{
    return static_cast<MoxShape*>(CreateObject(ClassId, pManager, pName));
}

MoxShape* MoxShape::Create(MoxObject* pContainer, const char* pName)
{
    return static_cast<MoxShape*>(CreateObjectIn(ClassId, pContainer, pName, sgFile));
}

MoxObject* MoxShape::Allocate(MoxManager& pManager, const char* pName, const MoxObject* pFrom)
{
    return AllocateObject<MoxShape>(pManager, pName, pFrom);
}

MoxShape::MoxShape(MoxManager& pManager, const char* pName) : MoxGeometryBase(pManager, pName) {}

MoxClassId MoxShape::GetClassId() const
{
    return ClassId;
}

}  // namespace moxsdk
