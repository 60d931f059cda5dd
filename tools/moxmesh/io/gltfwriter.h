#pragma once
// Writes a MoxMesh as glTF 2.0 straight from its vertices (meshvertices.h), through tinygltf: one mesh
// with one triangle primitive per material (polygons as fans from their first vertex), positions,
// normals, tangents (handedness +1 or -1) and every UV set as TEXCOORD_n, one material per primitive with
// the mesh's material name, min and max on every accessor, and no extension. Values are valid as the
// format requires (VertexOptions::mValidValues: zero or non-finite normals and tangents replaced and
// counted in the summary) and names are UTF-8 (a name that is not is read as Latin-1).

#include <ostream>
#include <string>

#include "io/meshvertices.h"
#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxmeshtool {

// pMesh as a .glb on pOut. Throws ToolError (naming pName) when tinygltf fails.
void WriteGlb(moxsdk::MoxMesh& pMesh, const std::string& pName, std::ostream& pOut, SceneSummary& pSummary);

// pMesh as a .gltf: the JSON on pJson, naming its buffer pBinUri, and the buffer's bytes on pBin.
void WriteGltfText(moxsdk::MoxMesh& pMesh, const std::string& pName, const std::string& pBinUri, std::ostream& pJson,
                   std::ostream& pBin, SceneSummary& pSummary);

// pText as UTF-8: itself when it is valid UTF-8, else each byte read as a Latin-1 character.
std::string Utf8OrLatin1(const std::string& pText);

}  // namespace moxmeshtool
