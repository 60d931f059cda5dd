#pragma once
// Tangents in glTF files written by Assimp.
//
// Assimp's glTF exporter writes positions, normals, UVs and vertex colours but no tangents. The writer
// therefore hands the tangents over as vertex colour channel 0: four floats per vertex, exactly what a
// glTF TANGENT attribute holds (x, y, z, handedness in w). Afterwards the attribute is renamed from
// "COLOR_0" to "TANGENT" in the file's JSON. Both names have 7 characters, so the JSON keeps its length
// and every byte offset of the file (including the chunk lengths of a .glb) stays valid.

#include <string>

namespace moxmeshtool {

// Renames every "COLOR_0" attribute key to "TANGENT" in the JSON of pJson (a key is the quoted name
// followed by a colon; a string value with the same text is left alone). Returns the number renamed.
int RenameColorAttributes(std::string& pJson);

// RenameColorAttributes on the glTF file pPath, in place: the whole file for .gltf (pBinary false), the
// JSON chunk for .glb. Returns the number renamed. Throws ToolError (naming pDisplayName) when the file
// cannot be read or written, or is not a glTF 2.0 binary file.
int RenameColorAttributesInFile(const std::string& pPath, bool pBinary, const std::string& pDisplayName);

}  // namespace moxmeshtool
