#pragma once
// Loads the procedural benchmark meshes into a MoxMesh.

#include "moxsdk/scene/geometry/moxmesh.h"
#include "support/moxbenchmeshes.h"

namespace moxbench {

// Replaces pMesh's content with pData: control points, polygons and, with pWithUVs, a UV set on layer 0's
// default channel (per polygon vertex, index to direct).
void FillMoxMesh(moxsdk::MoxMesh& pMesh, const MeshData& pData, bool pWithUVs = true);

}  // namespace moxbench
