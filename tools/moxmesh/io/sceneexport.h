#pragma once
// Turns a MoxMesh into an Assimp scene for Assimp's OBJ exporter: one Assimp mesh per part of the mesh's
// vertices (meshvertices.h: one per material, vertices shared where a renderer can share them), polygons
// kept as they are, positions, normals and up to Assimp's 8 UV channels; tangents are left out (OBJ has
// none).

#include <memory>

#include <assimp/scene.h>

#include "io/meshvertices.h"
#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxmeshtool {

// The scene for pMesh. The mesh is only read (its element arrays are locked for reading meanwhile).
std::unique_ptr<aiScene> BuildScene(moxsdk::MoxMesh& pMesh, SceneSummary& pSummary);

}  // namespace moxmeshtool
