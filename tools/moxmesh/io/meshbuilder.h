#pragma once
// Builds a MoxMesh from MeshData, keeping the data's own topology.
//
// What the mesh receives:
// - control points: the positions, in order;
// - polygons: BeginPolygon / AddPolygon per polygon, sizes kept (quads and n-gons stay as they are);
// - materials: one MoxSurfaceMaterial per name (made in the mesh's manager), held in the direct array of
//   layer 0's material element, mapped by polygon with one index per polygon (-1 for none);
// - normals: layer 0's normal element, by polygon vertex, index to direct (the data's values and indices);
// - UV set i: the default texture channel of layer i, by polygon vertex, index to direct, named after the
//   data's channel (an index of -1 leaves a polygon vertex unmapped);
// - tangents: layer 0's tangent element, by polygon vertex, index to direct.

#include "io/managedmesh.h"
#include "io/meshdata.h"

namespace moxmeshtool {

// Replaces pTarget's mesh content with pData. pData must be consistent (FindInconsistency finds
// nothing); the readers check that first. Throws std::bad_alloc when the library could not get memory.
void BuildMesh(const MeshData& pData, ManagedMesh& pTarget);

}  // namespace moxmeshtool
