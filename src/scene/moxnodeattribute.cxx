#include "moxsdk/scene/moxnodeattribute.h"

namespace moxsdk {

namespace {

// An abstract level of the hierarchy: its class record has no factory.
constexpr MoxClassInfo sgClassInfo{"MoxNodeAttribute", &MoxObject::ClassId, nullptr};

}  // namespace

const MoxClassId MoxNodeAttribute::ClassId(&sgClassInfo);

MoxNodeAttribute::MoxNodeAttribute(MoxManager& pManager, const char* pName) : MoxObject(pManager, pName) {}

MoxClassId MoxNodeAttribute::GetClassId() const
{
    return ClassId;
}

MoxNodeAttribute::EType MoxNodeAttribute::GetAttributeType() const
{
    return eUnknown;
}

}  // namespace moxsdk
