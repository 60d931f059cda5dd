#include "moxsdk/scene/moxtexture.h"

namespace moxsdk {

MOX_SCENE_OBJECT_DEFINITIONS(MoxTexture, MoxObject, "scene/moxtexture")

MoxTexture::MoxTexture(MoxManager& pManager, const char* pName) : MoxObject(pManager, pName) {}

}  // namespace moxsdk
