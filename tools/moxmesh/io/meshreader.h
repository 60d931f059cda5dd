#pragma once
// Reads a mesh file of any supported format: OBJ through tinyobjloader (objreader.h), every other format
// that Assimp reads through Assimp (assimpreader.h), chosen by the file's extension.

#include <memory>
#include <string>

#include "io/managedmesh.h"

namespace moxmeshtool {

// The file's extension in lower case with its dot (".obj"); empty when it has none.
std::string ExtensionOf(const std::string& pPath);

// Reads pPath. Throws ToolError, naming the file and the problem, when the file is missing, is not a
// regular file, cannot be opened, has an unknown format, is malformed, has no polygons or uses an index
// out of range.
std::unique_ptr<ManagedMesh> ReadMesh(const std::string& pPath);

}  // namespace moxmeshtool
