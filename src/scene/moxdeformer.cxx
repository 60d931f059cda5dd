#include "moxsdk/scene/moxdeformer.h"

namespace moxsdk {

MOX_SCENE_ABSTRACT_CLASS_DEFINITIONS(MoxDeformer, MoxObject)

MoxDeformer::MoxDeformer(MoxManager& pManager, const char* pName) : MoxObject(pManager, pName) {}

MoxDeformer::EDeformerType MoxDeformer::GetDeformerType() const
{
    return eUnknown;
}

}  // namespace moxsdk
