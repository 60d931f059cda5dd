#pragma once
// Reads Wavefront OBJ files as tinyobjloader reads them, keeping the file's own topology: every `v` becomes a
// control point in file order, every face a polygon of its own size (nothing is triangulated), `vt` and
// `vn` become per-polygon-vertex UV and normal elements in index-to-direct mode with the file's own
// indices, and each face takes the material that `usemtl` names, as an index into the materials of the
// file's material library. Objects and groups all go into the one mesh. Text in UTF-16 (with its byte
// order mark) is read as well as UTF-8 (with or without one). Faces of any size are read (tinyobjloader
// counts a face's vertices in one byte: larger faces get their sizes from the file's face statements);
// tinyobjloader itself drops faces of fewer than 3 vertices.
//
// Plain text (vertices, texture coordinates, normals and faces only; objtext.h) is read straight from the
// mapped file, with the same values, several times faster than tinyobjloader's reading and without
// holding the text; any other file is read by tinyobjloader itself.

#include <string>

#include "io/managedmesh.h"
#include "io/meshdata.h"

namespace moxmeshtool {

// Parses pPath into pData; findings that do not stop the reading go to pNotes. Throws ToolError for a
// file that cannot be opened, is malformed, has no polygons or uses an index out of range.
void ParseObj(const std::string& pPath, MeshData& pData, std::vector<std::string>& pNotes);

// ParseObj, then builds pTarget's mesh from what was read.
void ReadObj(const std::string& pPath, ManagedMesh& pTarget);

}  // namespace moxmeshtool
