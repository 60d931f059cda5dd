#include "moxsdk/scene/moxshape.h"

namespace moxsdk {

MOX_SCENE_OBJECT_DEFINITIONS(MoxShape, MoxGeometryBase, "scene/moxshape")

MoxShape::MoxShape(MoxManager& pManager, const char* pName) : MoxGeometryBase(pManager, pName) {}

}  // namespace moxsdk
