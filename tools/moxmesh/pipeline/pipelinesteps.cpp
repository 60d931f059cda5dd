#include "pipeline/pipelinesteps.h"

#include <map>

#include "moxsdk/scene/moxcluster.h"
#include "moxsdk/scene/moxskin.h"
#include "pipeline/edgesmoothing.h"
#include "pipeline/edgetopology.h"

namespace moxmeshtool {
namespace {

using moxsdk::MoxLayerElement;
using moxsdk::MoxMesh;

// The most polygon sizes named one by one; the others are summed up.
constexpr size_t sgMaxSizesNamed = 4;

std::string SizeName(int pSize, long long pCount)
{
    if (pSize == 3) return CountOf(pCount, "triangle", "triangles");
    if (pSize == 4) return CountOf(pCount, "quad", "quads");
    return std::to_string(pCount) + " " + std::to_string(pSize) + "-gon" + (pCount == 1 ? "" : "s");
}

// "by polygon vertex, 2115 values" for layer 0's normals, or "none".
std::string DescribeNormals(const MoxMesh& pMesh)
{
    const moxsdk::MoxLayer* lLayer = pMesh.GetLayer(0);
    const auto* lNormals = lLayer ? lLayer->GetNormals() : nullptr;
    if (!lNormals) return "no normals";
    return CountOf(lNormals->mDirectArray->GetCount(), "normal", "normals") + " " +
           MappingName(lNormals->GetMappingMode());
}

int CountTangentLayers(const MoxMesh& pMesh)
{
    int lCount = 0;
    for (int l = 0; l < pMesh.GetLayerCount(); ++l) lCount += pMesh.GetLayer(l)->GetTangents() ? 1 : 0;
    return lCount;
}

}  // namespace

std::string CountOf(long long pCount, const std::string& pSingular, const std::string& pPlural)
{
    return std::to_string(pCount) + " " + (pCount == 1 ? pSingular : pPlural);
}

const char* MappingName(MoxLayerElement::EMappingMode pMapping)
{
    switch (pMapping) {
        case MoxLayerElement::eByControlPoint:
            return "by control point";
        case MoxLayerElement::eByPolygonVertex:
            return "by polygon vertex";
        case MoxLayerElement::eByPolygon:
            return "by polygon";
        case MoxLayerElement::eByEdge:
            return "by edge";
        case MoxLayerElement::eByMesh:
            return "for the whole mesh";
        default:
            return "not mapped";
    }
}

int CountUVSets(const MoxMesh& pMesh)
{
    int lCount = 0;
    for (int l = 0; l < pMesh.GetLayerCount(); ++l) lCount += pMesh.GetLayer(l)->GetUVSetCount();
    return lCount;
}

int CountSkinWeights(const MoxMesh& pMesh)
{
    const auto* lSkin = static_cast<const moxsdk::MoxSkin*>(pMesh.GetDeformer(0, moxsdk::MoxDeformer::eSkin));
    int lCount = 0;
    for (int c = 0; lSkin && c < lSkin->GetClusterCount(); ++c)
        if (const moxsdk::MoxCluster* lCluster = lSkin->GetCluster(c))
            lCount += lCluster->GetControlPointIndicesCount();
    return lCount;
}

std::string DescribePolygonSizes(const MoxMesh& pMesh)
{
    std::map<int, long long> lBySize;
    long long lDegenerate = 0;
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
        const int lSize = pMesh.GetPolygonSize(p);
        if (lSize < 3)
            ++lDegenerate;
        else
            ++lBySize[lSize];
    }
    std::string lText;
    size_t lNamed = 0;
    long long lOthers = 0;
    for (const auto& lSize : lBySize) {
        if (lNamed++ < sgMaxSizesNamed)
            lText += (lText.empty() ? "" : ", ") + SizeName(lSize.first, lSize.second);
        else
            lOthers += lSize.second;
    }
    if (lOthers > 0) lText += ", " + std::to_string(lOthers) + " larger";
    if (lDegenerate > 0)
        lText += (lText.empty() ? "" : ", ") + std::to_string(lDegenerate) + " of fewer than 3 vertices";
    return lText;
}

std::string DescribePolygons(const MoxMesh& pMesh)
{
    const std::string lSizes = DescribePolygonSizes(pMesh);
    return CountOf(pMesh.GetPolygonCount(), "polygon", "polygons") + (lSizes.empty() ? "" : " (" + lSizes + ")");
}

std::string DescribeTopology(const MoxMesh& pMesh)
{
    return CountOf(pMesh.GetControlPointsCount(), "control point", "control points") + ", " + DescribePolygons(pMesh) +
           ", " + CountOf(pMesh.GetPolygonVertexCount(), "polygon vertex", "polygon vertices");
}

std::string BuildEdges(MoxMesh& pMesh)
{
    pMesh.BuildMeshEdgeArray();
    return CountOf(pMesh.GetMeshEdgeCount(), "edge", "edges");
}

std::string SmoothByAngle(MoxMesh& pMesh, double pMaxAngleDegrees)
{
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    pMesh.ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
    const EdgeSmoothingSummary lSummary = SetSmoothingFromAngle(pMesh, lEdgeToPolygons, pMaxAngleDegrees);
    return CountOf(lSummary.mSoft, "soft edge", "soft edges") + ", " +
           CountOf(lSummary.mHard, "hard edge", "hard edges") + " (" + std::to_string(lSummary.mEdges.mBoundary) +
           " boundary, " + std::to_string(lSummary.mEdges.mNonManifold) + " non-manifold)";
}

std::string GenerateNormals(MoxMesh& pMesh, bool pByControlPoint)
{
    if (!pMesh.GenerateNormals(true, pByControlPoint, false)) return "no normals: the mesh has no layer 0";
    const moxsdk::MoxLayer* lLayer = pMesh.GetLayer(0);
    const bool lSmoothed = !pByControlPoint && lLayer && lLayer->GetSmoothing();
    return DescribeNormals(pMesh) + (lSmoothed ? ", smoothed across soft edges" : "");
}

std::string GenerateTangents(MoxMesh& pMesh)
{
    const int lUVSets = CountUVSets(pMesh);
    if (lUVSets == 0) return "no UV set: no tangents";
    const bool lDone = pMesh.GenerateTangentsDataForAllUVSets(true, false);
    const moxsdk::MoxLayer* lLayer = pMesh.GetLayer(0);
    const auto* lTangents = lLayer ? lLayer->GetTangents() : nullptr;
    std::string lText = "tangents and binormals for " + CountOf(CountTangentLayers(pMesh), "UV set", "UV sets");
    if (lTangents) lText += ", " + std::to_string(lTangents->mDirectArray->GetCount()) + " each";
    return lDone ? lText : lText + " (not every UV set could be done)";
}

std::string SplitPoints(MoxMesh& pMesh)
{
    const int lPointsBefore = pMesh.GetControlPointsCount();
    const int lEdgesBefore = pMesh.GetMeshEdgeCount();
    const int lWeightsBefore = CountSkinWeights(pMesh);
    if (!pMesh.SplitPoints(MoxLayerElement::eTextureChannel0))
        return "not split: the mesh has no layer 0 or a negative control point";
    std::string lText = "control points " + std::to_string(lPointsBefore) + " -> " +
                        std::to_string(pMesh.GetControlPointsCount()) + ", edges " + std::to_string(lEdgesBefore) +
                        " -> " + std::to_string(pMesh.GetMeshEdgeCount());
    if (lWeightsBefore > 0)
        lText += ", skin weights " + std::to_string(lWeightsBefore) + " -> " + std::to_string(CountSkinWeights(pMesh));
    return lText + ", " + DescribeNormals(pMesh);
}

std::string MergePoints(MoxMesh& pMesh)
{
    moxsdk::MoxArray<int> lMergeList;
    const int lPointsBefore = pMesh.GetControlPointsCount();
    if (!pMesh.BuildMergeList(lMergeList)) return "no coincident control points: nothing merged";
    int lMerged = 0;
    for (int i = 0; i < lMergeList.GetCount(); ++i) lMerged += lMergeList[i] != i ? 1 : 0;
    pMesh.MergePointsForPolygonVerteNormals(lMergeList);
    return CountOf(lMerged, "coincident control point", "coincident control points") + " merged: control points " +
           std::to_string(lPointsBefore) + " -> " + std::to_string(pMesh.GetControlPointsCount()) + ", edges " +
           std::to_string(pMesh.GetMeshEdgeCount()) + ", " + DescribeNormals(pMesh);
}

std::string CountEdgeNeighbours(MoxMesh& pMesh)
{
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    pMesh.ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
    const EdgeCounts lCounts = CountEdges(lEdgeToPolygons, pMesh.GetMeshEdgeCount());
    std::string lText = CountOf(lCounts.mEdges, "edge", "edges") + ": " + std::to_string(lCounts.mManifold) +
                        " in two polygons, " + std::to_string(lCounts.mBoundary) + " boundary, " +
                        std::to_string(lCounts.mNonManifold) + " non-manifold";
    if (lCounts.mIsolated > 0) lText += ", " + std::to_string(lCounts.mIsolated) + " in no polygon";
    return lText;
}

std::string RemoveBadPolygons(MoxMesh& pMesh)
{
    const int lRemoved = pMesh.RemoveBadPolygons();
    return "removed " + CountOf(lRemoved, "bad polygon", "bad polygons") + ", " +
           CountOf(pMesh.GetPolygonCount(), "polygon", "polygons") + " left";
}

void DropUnwrittenElements(MoxMesh& pMesh)
{
    for (int l = 0; l < pMesh.GetLayerCount(); ++l) {
        moxsdk::MoxLayer* lLayer = pMesh.GetLayer(l);
        lLayer->SetBinormals(nullptr);
        lLayer->SetSmoothing(nullptr);
    }
}

}  // namespace moxmeshtool
