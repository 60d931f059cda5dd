// Weak stand-ins for mesh operations that normal generation and conforming call and that the library does
// not define yet: the edge queries and the control-point-to-vertices map. With them a mesh has no edges
// (every polygon side answers -1) and an empty control-point map. This file is linked after the library,
// so any definition the library has wins; it can be deleted once the library defines all of them.
#include "moxsdk/scene/geometry/moxmesh.h"

#define MOX_PENDING __attribute__((weak))

namespace moxsdk {

MOX_PENDING void MoxMesh::BeginGetMeshEdgeIndexForPolygon() {}

MOX_PENDING void MoxMesh::EndGetMeshEdgeIndexForPolygon() {}

MOX_PENDING int MoxMesh::GetMeshEdgeIndexForPolygon(int, int)
{
    return -1;
}

MOX_PENDING void MoxMesh::BeginGetMeshEdgeVertices() {}

MOX_PENDING void MoxMesh::EndGetMeshEdgeVertices() {}

MOX_PENDING void MoxMesh::GetMeshEdgeVertices(int, int& pStartVertexIndex, int& pEndVertexIndex) const
{
    pStartVertexIndex = -1;
    pEndVertexIndex = -1;
}

MOX_PENDING void MoxMesh::ComputeControlPointToVerticesMap(ControlPointToVerticesMap&) {}

MOX_PENDING int MoxMesh::ControlPointToVerticesMap::GetCount(int) const
{
    return 0;
}

MOX_PENDING int MoxMesh::ControlPointToVerticesMap::GetVertex(int, int) const
{
    return -1;
}

}  // namespace moxsdk
