#include "moxsdk/scene/moxsurfacematerial.h"

namespace moxsdk {

MOX_SCENE_OBJECT_DEFINITIONS(MoxSurfaceMaterial, MoxObject, "scene/moxsurfacematerial")

MoxSurfaceMaterial::MoxSurfaceMaterial(MoxManager& pManager, const char* pName) : MoxObject(pManager, pName) {}

}  // namespace moxsdk
