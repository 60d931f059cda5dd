#include "moxsdk/scene/moxnodeattribute.h"

namespace moxsdk {

MOX_SCENE_ABSTRACT_CLASS_DEFINITIONS(MoxNodeAttribute, MoxObject)

MoxNodeAttribute::MoxNodeAttribute(MoxManager& pManager, const char* pName) : MoxObject(pManager, pName) {}

MoxNodeAttribute::EType MoxNodeAttribute::GetAttributeType() const
{
    return eUnknown;
}

}  // namespace moxsdk
