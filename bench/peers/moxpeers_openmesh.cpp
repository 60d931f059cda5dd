// OpenMesh: the halfedge structure built from the polygon list, and its normal updates. Triangle meshes
// go into OpenMesh's triangle mesh, the others into its polygon mesh; points are stored as floats.
// Polygons OpenMesh refuses (a repeated corner, a non-manifold edge) are left out, quietly.
#include <algorithm>
#include <memory>
#include <vector>

#include <OpenMesh/Core/Mesh/PolyMesh_ArrayKernelT.hh>
#include <OpenMesh/Core/Mesh/TriMesh_ArrayKernelT.hh>
#include <OpenMesh/Core/System/omstream.hh>

#include "moxpeers.h"

namespace moxpeers {
namespace {

using TriMesh = OpenMesh::TriMesh_ArrayKernelT<>;
using PolyMesh = OpenMesh::PolyMesh_ArrayKernelT<>;

bool IsTriangleMesh(const MeshData& pData)
{
    return std::all_of(pData.mPolygonSizes.begin(), pData.mPolygonSizes.end(), [](int pSize) { return pSize == 3; });
}

// Adds pData's points and polygons to the empty pMesh.
template <class Mesh>
void Fill(const MeshData& pData, Mesh& pMesh)
{
    const size_t lPoints = pData.ControlPointCount();
    pMesh.reserve(lPoints, pData.PolygonVertexCount() / 2 + 1, pData.PolygonCount());
    std::vector<typename Mesh::VertexHandle> lHandles(lPoints);
    for (size_t i = 0; i < lPoints; ++i) {
        const double* lPosition = &pData.mPositions[3 * i];
        const typename Mesh::Point lPoint(static_cast<float>(lPosition[0]), static_cast<float>(lPosition[1]),
                                          static_cast<float>(lPosition[2]));
        lHandles[i] = typename Mesh::VertexHandle(pMesh.add_vertex(lPoint).idx());
    }
    std::vector<typename Mesh::VertexHandle> lFace;
    size_t lCorner = 0;
    for (int lSize : pData.mPolygonSizes) {
        lFace.clear();
        for (int k = 0; k < lSize; ++k)
            lFace.push_back(lHandles[static_cast<size_t>(pData.mPolygonVertices[lCorner++])]);
        pMesh.add_face(lFace);
    }
}

// Each iteration builds a new mesh; the previous one is destroyed outside the timing.
template <class Mesh>
void MeasureBuild(benchmark::State& pState, const MeshData& pData)
{
    std::unique_ptr<Mesh> lMesh;
    TimedFaults lFaults(pState);
    for (auto _ : pState) {
        lFaults.Pause();
        lMesh.reset();
        lFaults.Resume();
        lMesh = std::make_unique<Mesh>();
        Fill(pData, *lMesh);
    }
    pState.counters["faces out"] = static_cast<double>(lMesh ? lMesh->n_faces() : 0);
}

// update_normals(): the face normals, then the vertex normals or (pHalfedges) the halfedge normals, which
// average the faces around a vertex within OpenMesh's default feature angle of 0.8 radians.
template <class Mesh>
void MeasureNormals(benchmark::State& pState, const MeshData& pData, bool pHalfedges)
{
    Mesh lMesh;
    lMesh.request_face_normals();
    if (pHalfedges)
        lMesh.request_halfedge_normals();
    else
        lMesh.request_vertex_normals();
    Fill(pData, lMesh);
    TimedFaults lFaults(pState);
    for (auto _ : pState) lMesh.update_normals();
}

void MeasureHalfedgeBuild(benchmark::State& pState, const BenchMesh& pMesh)
{
    const MeshData& lData = DataOf(pMesh);
    ::omerr().disable();
    if (IsTriangleMesh(lData))
        MeasureBuild<TriMesh>(pState, lData);
    else
        MeasureBuild<PolyMesh>(pState, lData);
    SetPerPolygon(pState, lData);
}

void MeasureNormals(benchmark::State& pState, const BenchMesh& pMesh, bool pHalfedges)
{
    const MeshData& lData = DataOf(pMesh);
    ::omerr().disable();
    if (IsTriangleMesh(lData))
        MeasureNormals<TriMesh>(pState, lData, pHalfedges);
    else
        MeasureNormals<PolyMesh>(pState, lData, pHalfedges);
    SetPerPolygon(pState, lData);
}

void MeasureFaceVertexNormals(benchmark::State& pState, const BenchMesh& pMesh)
{
    MeasureNormals(pState, pMesh, false);
}

void MeasureFaceHalfedgeNormals(benchmark::State& pState, const BenchMesh& pMesh)
{
    MeasureNormals(pState, pMesh, true);
}

}  // namespace

std::vector<Row> OpenMeshRows()
{
    return {
        {"openmesh.HalfedgeBuild", MeasureHalfedgeBuild},
        {"openmesh.FaceVertexNormals", MeasureFaceVertexNormals},
        {"openmesh.FaceHalfedgeNormals", MeasureFaceHalfedgeNormals},
    };
}

}  // namespace moxpeers
