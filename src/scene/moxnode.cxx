#include "moxsdk/scene/moxnode.h"

namespace moxsdk {

MOX_SCENE_OBJECT_DEFINITIONS(MoxNode, MoxObject, "scene/moxnode")

MoxNode::MoxNode(MoxManager& pManager, const char* pName) : MoxObject(pManager, pName) {}

}  // namespace moxsdk
