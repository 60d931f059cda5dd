#pragma once
// Writes a mesh as OBJ through Assimp's exporter (positions, normals, UVs, polygons of any size, materials
// in a .mtl file; a mesh without normals is written without normals, though Assimp's OBJ exporter makes
// some up; sceneexport.h builds the scene) or as glTF 2.0 through tinygltf, straight from the mesh (.gltf
// with its .bin buffer, or .glb; triangulated as glTF requires, with normals, UVs and tangents;
// gltfwriter.h). Every file is staged and moved into place only once all of them are complete
// (stagedoutput.h).

#include <string>
#include <vector>

#include "io/meshvertices.h"
#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxmeshtool {

enum class EOutputFormat { eObj, eGltf, eGlb };

// The format written for pPath's extension (.obj, .gltf, .glb, case ignored). Throws ToolError for any
// other.
EOutputFormat OutputFormatOf(const std::string& pPath);
// The format's name for reports ("OBJ", "glTF", "glTF binary").
const char* FormatName(EOutputFormat pFormat);

// Throws ToolError when pPath clearly cannot be written: its directory is missing or not writable, or
// pPath is a directory. Meant to run before long work, so that a wrong path fails at once.
void CheckWritable(const std::string& pPath);

struct WriteSummary {
    EOutputFormat mFormat = EOutputFormat::eObj;
    SceneSummary mScene;
    std::vector<std::string> mFiles;  // the files written, in order
};

// Writes pMesh to pPath (the format follows the extension). Throws ToolError when the format is unknown,
// no polygon can be written, or a file cannot be written; nothing is left behind then.
WriteSummary WriteMesh(moxsdk::MoxMesh& pMesh, const std::string& pPath);

}  // namespace moxmeshtool
