#include "moxsdk/scene/moxdeformer.h"

namespace moxsdk {

namespace {

// An abstract level of the hierarchy: its class record has no factory.
constexpr MoxClassInfo sgClassInfo{"MoxDeformer", &MoxObject::ClassId, nullptr};

}  // namespace

const MoxClassId MoxDeformer::ClassId(&sgClassInfo);

MoxDeformer::MoxDeformer(MoxManager& pManager, const char* pName) : MoxObject(pManager, pName) {}

MoxClassId MoxDeformer::GetClassId() const
{
    return ClassId;
}

MoxDeformer::EDeformerType MoxDeformer::GetDeformerType() const
{
    return eUnknown;
}

}  // namespace moxsdk
