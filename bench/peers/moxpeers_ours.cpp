// Our side of the table: the library's operations on meshes built as the tool builds them, the tool's
// import pipeline, and the floor every figure is read against (one streaming pass over the corners).
// Operations that change the mesh in a way a second call would not repeat (merging, removing polygons,
// the pipeline) start each iteration from a fresh copy, made outside the timing.
#include <memory>

#include "cli/commands.h"
#include "io/managedmesh.h"
#include "io/meshbuilder.h"
#include "moxpeers.h"
#include "moxsdk/scene/geometry/moxlayer.h"
#include "pipeline/demomodel.h"
#include "pipeline/pipelinesteps.h"

namespace moxpeers {
namespace {

using moxmeshtool::ManagedMesh;
using moxsdk::MoxArray;
using moxsdk::MoxLayerElement;
using moxsdk::MoxMesh;
using moxsdk::MoxVector4;

// The feature angle of the rows that derive hard edges from the geometry, as Assimp's 45-degree rows do.
constexpr double sgFeatureAngle = 45.0;

// A new mesh holding pData as the tool builds it (control points, polygons, the UV set per polygon
// vertex), with at least layer 0.
std::unique_ptr<ManagedMesh> NewMesh(const MeshData& pData)
{
    auto lMesh = std::make_unique<ManagedMesh>();
    moxmeshtool::BuildMesh(pData, *lMesh);
    if (lMesh->Mesh().GetLayerCount() == 0) lMesh->Mesh().CreateLayer();
    return lMesh;
}

// The mesh with one control point per polygon vertex, as the peers' merge steps receive it: pData's
// positions and polygons (no UV set), split.
std::unique_ptr<ManagedMesh> NewSplitMesh(const MeshData& pData)
{
    MeshData lPositions;
    lPositions.mPositions = pData.mPositions;
    lPositions.mPolygonSizes = pData.mPolygonSizes;
    lPositions.mPolygonVertices = pData.mPolygonVertices;
    std::unique_ptr<ManagedMesh> lMesh = NewMesh(lPositions);
    lMesh->Mesh().SplitPoints();
    return lMesh;
}

// Layer 0's smoothing by polygon with every polygon in group 1: the whole mesh smooth, as a file with one
// smoothing group gives it.
void SmoothAllPolygons(MoxMesh& pMesh)
{
    moxsdk::MoxLayerElementSmoothing* lElement = moxsdk::MoxLayerElementSmoothing::Create(&pMesh, "");
    lElement->SetMappingMode(MoxLayerElement::eByPolygon);
    lElement->mDirectArray->SetCount(pMesh.GetPolygonCount());
    int* lValues = lElement->mDirectArray->GetLocked();
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) lValues[p] = 1;
    lElement->mDirectArray->Release(&lValues);
    pMesh.GetLayer(0)->SetSmoothing(lElement);
}

// A mesh in the same manager as pSource, to receive copies of it.
MoxMesh& NewWorkMesh(const ManagedMesh& pSource)
{
    return *MoxMesh::Create(&pSource.Manager(), "work");
}

// Times pCall, after one untimed call: the row measures the operation as a repeated call finds it, with
// its outputs' storage in place, as the peers' rows have theirs (OpenMesh's properties requested and
// meshoptimizer's remap table sized before their loops). A first call on a new mesh also makes that
// storage in fresh memory; the demo pipeline row, on a freshly built mesh at each iteration, has that cost.
template <class Call>
void TimeRepeatedCall(benchmark::State& pState, Call pCall)
{
    pCall();
    TimedFaults lFaults(pState);
    for (auto _ : pState) pCall();
}

// Read each corner's control point index and position, write one double4 per corner.
void MeasureStreamingFloor(benchmark::State& pState, const BenchMesh& pMesh)
{
    const MeshData& lData = DataOf(pMesh);
    const moxmeshtool::MeshArray<int>& lVertices = lData.mPolygonVertices;
    std::vector<MoxVector4> lOut(lVertices.size());
    TimedFaults lFaults(pState);
    for (auto _ : pState) {
        for (size_t k = 0; k < lVertices.size(); ++k) {
            const double* lPosition = &lData.mPositions[3 * static_cast<size_t>(lVertices[k])];
            lOut[k] = MoxVector4(lPosition[0], lPosition[1], lPosition[2]);
        }
        benchmark::DoNotOptimize(lOut.data());
        benchmark::ClobberMemory();
    }
    SetPerPolygon(pState, lData);
}

void MeasureBuildMeshEdgeArray(benchmark::State& pState, const BenchMesh& pMesh)
{
    const std::unique_ptr<ManagedMesh> lMesh = NewMesh(DataOf(pMesh));
    TimeRepeatedCall(pState, [&] { lMesh->Mesh().BuildMeshEdgeArray(); });
    SetPerPolygon(pState, DataOf(pMesh));
}

void MeasureComputeComponentMaps(benchmark::State& pState, const BenchMesh& pMesh)
{
    const std::unique_ptr<ManagedMesh> lMesh = NewMesh(DataOf(pMesh));
    lMesh->Mesh().BuildMeshEdgeArray();
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    TimeRepeatedCall(pState, [&] { lMesh->Mesh().ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges); });
    SetPerPolygon(pState, DataOf(pMesh));
}

void MeasureNormalsByControlPoint(benchmark::State& pState, const BenchMesh& pMesh)
{
    const std::unique_ptr<ManagedMesh> lMesh = NewMesh(DataOf(pMesh));
    TimeRepeatedCall(pState, [&] { lMesh->Mesh().GenerateNormals(true, true, false); });
    SetPerPolygon(pState, DataOf(pMesh));
}

// With the edge array built, as an import builds it first: the smoothing pass opens the edge lookups
// whatever the smoothing's mapping.
void MeasureNormalsSmoothingByPolygon(benchmark::State& pState, const BenchMesh& pMesh)
{
    const std::unique_ptr<ManagedMesh> lMesh = NewMesh(DataOf(pMesh));
    lMesh->Mesh().BuildMeshEdgeArray();
    SmoothAllPolygons(lMesh->Mesh());
    TimeRepeatedCall(pState, [&] { lMesh->Mesh().GenerateNormals(true, false, false); });
    SetPerPolygon(pState, DataOf(pMesh));
}

// Smoothing by edge as the tool derives it from the feature angle (made once, outside the timing).
void MeasureNormalsSmoothingByEdge(benchmark::State& pState, const BenchMesh& pMesh)
{
    const std::unique_ptr<ManagedMesh> lMesh = NewMesh(DataOf(pMesh));
    lMesh->Mesh().BuildMeshEdgeArray();
    moxmeshtool::SmoothByAngle(lMesh->Mesh(), sgFeatureAngle);
    TimeRepeatedCall(pState, [&] { lMesh->Mesh().GenerateNormals(true, false, false); });
    SetPerPolygon(pState, DataOf(pMesh));
}

// What a feature angle costs in all: component maps, hard and soft edges from the polygons' normals,
// then the normals (the edge array is there already, as after an import's edge step).
void MeasureSmoothByAngleAndNormals(benchmark::State& pState, const BenchMesh& pMesh)
{
    const std::unique_ptr<ManagedMesh> lMesh = NewMesh(DataOf(pMesh));
    lMesh->Mesh().BuildMeshEdgeArray();
    TimeRepeatedCall(pState, [&] {
        moxmeshtool::SmoothByAngle(lMesh->Mesh(), sgFeatureAngle);
        lMesh->Mesh().GenerateNormals(true, false, false);
    });
    SetPerPolygon(pState, DataOf(pMesh));
}

// On smooth normals per polygon vertex, as the peer's tangent step receives smooth normals.
void MeasureTangents(benchmark::State& pState, const BenchMesh& pMesh)
{
    const std::unique_ptr<ManagedMesh> lMesh = NewMesh(DataOf(pMesh));
    lMesh->Mesh().BuildMeshEdgeArray();
    SmoothAllPolygons(lMesh->Mesh());
    lMesh->Mesh().GenerateNormals(true, false, false);
    TimeRepeatedCall(pState, [&] { lMesh->Mesh().GenerateTangentsDataForAllUVSets(true, false); });
    SetPerPolygon(pState, DataOf(pMesh));
}

// On normals per polygon vertex after smoothing by edge, as the tool's pipeline has them when it makes
// tangents after a feature angle: hard edges make corners of one control point differ.
void MeasureTangentsAfterSmoothingByEdge(benchmark::State& pState, const BenchMesh& pMesh)
{
    const std::unique_ptr<ManagedMesh> lMesh = NewMesh(DataOf(pMesh));
    lMesh->Mesh().BuildMeshEdgeArray();
    moxmeshtool::SmoothByAngle(lMesh->Mesh(), sgFeatureAngle);
    lMesh->Mesh().GenerateNormals(true, false, false);
    TimeRepeatedCall(pState, [&] { lMesh->Mesh().GenerateTangentsDataForAllUVSets(true, false); });
    SetPerPolygon(pState, DataOf(pMesh));
}

void MeasureBuildMergeList(benchmark::State& pState, const BenchMesh& pMesh)
{
    const std::unique_ptr<ManagedMesh> lMesh = NewSplitMesh(DataOf(pMesh));
    MoxArray<int> lMergeList;
    TimeRepeatedCall(pState, [&] { benchmark::DoNotOptimize(lMesh->Mesh().BuildMergeList(lMergeList)); });
    pState.counters["points in"] = lMesh->Mesh().GetControlPointsCount();
    SetPerPolygon(pState, DataOf(pMesh));
}

// The whole merge, as the peer's join step does it: the list, then the points merged.
void MeasureMergePoints(benchmark::State& pState, const BenchMesh& pMesh)
{
    const std::unique_ptr<ManagedMesh> lSource = NewSplitMesh(DataOf(pMesh));
    MoxMesh& lMesh = NewWorkMesh(*lSource);
    MoxArray<int> lMergeList;
    TimedFaults lFaults(pState);
    for (auto _ : pState) {
        lFaults.Pause();
        lMesh.Copy(lSource->Mesh());
        lFaults.Resume();
        lMesh.BuildMergeList(lMergeList);
        lMesh.MergePointsForPolygonVerteNormals(lMergeList);
    }
    pState.counters["points out"] = lMesh.GetControlPointsCount();
    SetPerPolygon(pState, DataOf(pMesh));
}

void MeasureRemoveBadPolygons(benchmark::State& pState, const BenchMesh& pMesh)
{
    const std::unique_ptr<ManagedMesh> lSource = NewMesh(DataOf(pMesh));
    MoxMesh& lMesh = NewWorkMesh(*lSource);
    TimedFaults lFaults(pState);
    for (auto _ : pState) {
        lFaults.Pause();
        lMesh.Copy(lSource->Mesh());
        lFaults.Resume();
        benchmark::DoNotOptimize(lMesh.RemoveBadPolygons());
    }
    SetPerPolygon(pState, DataOf(pMesh));
}

void MeasureCheckSamePointTwice(benchmark::State& pState, const BenchMesh& pMesh)
{
    const std::unique_ptr<ManagedMesh> lMesh = NewMesh(DataOf(pMesh));
    TimeRepeatedCall(pState, [&] { benchmark::DoNotOptimize(lMesh->Mesh().CheckSamePointTwice()); });
    SetPerPolygon(pState, DataOf(pMesh));
}

// The steps of `moxmesh demo` after building the model, in its order and with its smoothing angle.
void RunDemoPipeline(MoxMesh& pMesh)
{
    moxmeshtool::BuildEdges(pMesh);
    moxmeshtool::SmoothByAngle(pMesh, moxmeshtool::DemoOptions().mSmoothAngle);
    moxmeshtool::GenerateNormals(pMesh, false);
    moxmeshtool::GenerateTangents(pMesh);
    moxmeshtool::SplitPoints(pMesh);
    moxmeshtool::MergePoints(pMesh);
    moxmeshtool::CountEdgeNeighbours(pMesh);
    moxmeshtool::RemoveBadPolygons(pMesh);
}

// Each iteration on a freshly built mesh (the demo model with its skin, as the demo builds it).
void MeasureDemoPipeline(benchmark::State& pState, const BenchMesh& pMesh)
{
    std::unique_ptr<ManagedMesh> lMesh;
    TimedFaults lFaults(pState);
    for (auto _ : pState) {
        lFaults.Pause();
        lMesh.reset();
        if (pMesh.mIsDemoModel) {
            lMesh = std::make_unique<ManagedMesh>();
            moxmeshtool::BuildDemoModel(moxmeshtool::DemoModelOptions(), *lMesh);
        } else {
            lMesh = NewMesh(DataOf(pMesh));
        }
        lFaults.Resume();
        RunDemoPipeline(lMesh->Mesh());
    }
    lMesh.reset();
    SetPerPolygon(pState, DataOf(pMesh));
}

}  // namespace

std::vector<Row> OurRows()
{
    return {
        {"floor.StreamingPass", MeasureStreamingFloor},
        {"mox.BuildMeshEdgeArray", MeasureBuildMeshEdgeArray},
        {"mox.ComputeComponentMaps", MeasureComputeComponentMaps},
        {"mox.GenerateNormals.ByControlPoint", MeasureNormalsByControlPoint},
        {"mox.GenerateNormals.SmoothingByPolygon", MeasureNormalsSmoothingByPolygon},
        {"mox.GenerateNormals.SmoothingByEdge", MeasureNormalsSmoothingByEdge},
        {"mox.SmoothByAngle45+GenerateNormals", MeasureSmoothByAngleAndNormals},
        {"mox.GenerateTangentsDataForAllUVSets", MeasureTangents, true},
        {"mox.GenerateTangentsDataForAllUVSets.SmoothingByEdge", MeasureTangentsAfterSmoothingByEdge, true},
        {"mox.BuildMergeList", MeasureBuildMergeList},
        {"mox.BuildMergeList+MergePoints", MeasureMergePoints},
        {"mox.RemoveBadPolygons", MeasureRemoveBadPolygons},
        {"mox.CheckSamePointTwice", MeasureCheckSamePointTwice},
        {"mox.DemoPipeline", MeasureDemoPipeline},
    };
}

}  // namespace moxpeers
