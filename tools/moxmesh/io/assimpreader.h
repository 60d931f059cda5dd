#pragma once
// Reads the formats that Assimp reads (PLY, STL, glTF, OFF, ...), other than OBJ.
//
// Assimp gives every mesh its own vertices, with one normal and one UV per vertex, so a point shared by
// several polygons arrives as several vertices. The reader welds them back: control points are the
// distinct positions (compared exactly, -0 equal to +0), so that polygons that meet share their points
// and the mesh has its topology again. Normals, UV channels and tangents stay per polygon vertex, in
// index-to-direct mode over Assimp's vertices. The scene's node transforms are applied, every mesh goes
// into the one MoxMesh, each polygon keeps its mesh's material, and point and line primitives are left
// out. An empty part (an STL solid without facets) is left out with a note; the other parts are read.

#include <string>

#include <assimp/scene.h>

#include "io/managedmesh.h"
#include "io/meshdata.h"

namespace moxmeshtool {

// Parses pPath into pData (pFormat names the format, e.g. "PLY"); findings that do not stop the reading
// go to pNotes. Throws ToolError when Assimp cannot read the file, or when it has no polygons.
void ParseWithAssimp(const std::string& pPath, const std::string& pFormat, MeshData& pData,
                     std::vector<std::string>& pNotes);

// The second half of ParseWithAssimp: pScene (as Assimp read pPath) welded into pData. Throws ToolError
// when it has no polygons, a face index past its mesh's vertices, or more vertices than an int counts.
void ParseScene(const aiScene& pScene, const std::string& pPath, MeshData& pData, std::vector<std::string>& pNotes);

// ParseWithAssimp, then builds pTarget's mesh from what was read.
void ReadWithAssimp(const std::string& pPath, const std::string& pFormat, ManagedMesh& pTarget);

// True when Assimp has a reader for files with this extension (".ply", case ignored).
bool AssimpReadsExtension(const std::string& pExtension);

}  // namespace moxmeshtool
