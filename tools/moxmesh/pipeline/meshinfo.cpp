#include "pipeline/meshinfo.h"

#include <cmath>
#include <limits>
#include <new>
#include <set>

#include "moxsdk/scene/geometry/moxlayerelementreader.h"
#include "pipeline/pipelinesteps.h"

namespace moxmeshtool {
namespace {

using moxsdk::MoxLayerElement;
using moxsdk::MoxMesh;
using moxsdk::MoxVector4;

void ReadAttributes(MoxMesh& pMesh, MeshInfo& pInfo)
{
    for (int l = 0; l < pMesh.GetLayerCount(); ++l)
        for (int c = MoxLayerElement::eTextureChannel0; c <= MoxLayerElement::eTextureChannel16; ++c)
            if (const auto* lUVs = pMesh.GetLayer(l)->GetUVs(static_cast<MoxLayerElement::EType>(c)))
                pInfo.mUVSets.push_back(UVSetInfo{lUVs->GetName(), l, lUVs->mDirectArray->GetCount()});

    const moxsdk::MoxLayer* lLayer0 = pMesh.GetLayer(0);
    const auto* lMaterials = lLayer0 ? lLayer0->GetMaterials() : nullptr;
    if (lMaterials) {
        pInfo.mMaterials = lMaterials->mDirectArray->GetCount();
        std::set<int> lUsed;
        if (lMaterials->GetReferenceMode() != MoxLayerElement::eDirect)
            for (int i = 0; i < lMaterials->mIndexArray->GetCount(); ++i) {
                const int lSlot = lMaterials->mIndexArray->GetAt(i);
                if (lSlot >= 0 && lSlot < pInfo.mMaterials) lUsed.insert(lSlot);
            }
        pInfo.mMaterialsUsed = static_cast<int>(lUsed.size());
    }
    const auto* lNormals = lLayer0 ? lLayer0->GetNormals() : nullptr;
    pInfo.mNormals = lNormals ? std::string(MappingName(lNormals->GetMappingMode())) + ", " +
                                    std::to_string(lNormals->mDirectArray->GetCount()) + " values"
                              : "none";
}

// Twice the area of the triangle that corner k of polygon p makes with its two neighbours; 0 when a
// control point is out of range.
double CornerArea(const MoxMesh& pMesh, int pPolygon, int pCorner)
{
    const int lSize = pMesh.GetPolygonSize(pPolygon);
    if (lSize < 1) return 0.0;
    const int lPoints[3] = {pMesh.GetPolygonVertex(pPolygon, (pCorner + lSize - 1) % lSize),
                            pMesh.GetPolygonVertex(pPolygon, pCorner),
                            pMesh.GetPolygonVertex(pPolygon, (pCorner + 1) % lSize)};
    for (int lPoint : lPoints)
        if (lPoint < 0 || lPoint >= pMesh.GetControlPointsCount()) return 0.0;
    const MoxVector4* lPositions = pMesh.GetControlPoints();
    const MoxVector4& lCurrent = lPositions[lPoints[1]];
    return (lPositions[lPoints[2]] - lCurrent).CrossProduct(lPositions[lPoints[0]] - lCurrent).Length();
}

// The winding check compares normals per control point. Normals stored otherwise are first averaged per
// control point, each polygon vertex's normal weighted by the area of its corner (the length of the
// corner's cross product), the weighting the check itself uses: faceted normals (one per polygon, as STL
// has them) then average to exactly what the check expects of counter-clockwise polygons, and shared
// normals (one per control point) stay what they are. A control point that no polygon uses gets no
// normal at all (NaN): the check could otherwise match it against the (0, 0, 0) it expects for such a
// point and decide the whole mesh on it.
bool AverageNormalsPerControlPoint(MoxMesh& pMesh)
{
    moxsdk::MoxLayer* lLayer0 = pMesh.GetLayer(0);
    if (!lLayer0 || !lLayer0->GetNormals()) return false;
    const int lPointCount = pMesh.GetControlPointsCount();
    const double lNaN = std::numeric_limits<double>::quiet_NaN();
    std::vector<MoxVector4> lSums(lPointCount, MoxVector4(0, 0, 0, 0));
    std::vector<bool> lUsed(lPointCount, false);
    {
        const moxsdk::MoxLayerElementReader<MoxVector4> lNormals(lLayer0->GetNormals());
        for (int p = 0; p < pMesh.GetPolygonCount(); ++p) {
            const int lStart = pMesh.GetPolygonVertexIndex(p);
            for (int k = 0; k < pMesh.GetPolygonSize(p); ++k) {
                const int lPoint = pMesh.GetPolygonVertex(p, k);
                MoxVector4 lNormal;
                if (lPoint < 0 || lPoint >= lPointCount || !lNormals.Get(p, lStart + k, lPoint, lNormal)) continue;
                lNormal[3] = 0.0;
                lNormal.Normalize();
                lSums[lPoint] += lNormal * CornerArea(pMesh, p, k);
                lUsed[lPoint] = true;
            }
        }
    }
    pMesh.InitNormals(0, 1);
    moxsdk::MoxLayerElementArrayTemplate<MoxVector4>* lDirect = nullptr;
    if (!pMesh.GetNormals(&lDirect) || lDirect->GetCount() != lPointCount) throw std::bad_alloc();
    for (int i = 0; i < lPointCount; ++i) {
        MoxVector4 lNormal = lUsed[i] ? lSums[i] : MoxVector4(lNaN, lNaN, lNaN, 1.0);
        lNormal.Normalize();
        lNormal[3] = 1.0;
        lDirect->SetAt(i, lNormal);
    }
    return true;
}

EWinding CheckWinding(MoxMesh& pMesh)
{
    const moxsdk::MoxLayer* lLayer0 = pMesh.GetLayer(0);
    if (!lLayer0 || !lLayer0->GetNormals() || lLayer0->GetNormals()->mDirectArray->GetCount() == 0)
        return EWinding::eNoNormals;
    if (!AverageNormalsPerControlPoint(pMesh)) return EWinding::eNoNormals;
    return pMesh.CheckIfVertexNormalsCCW() ? EWinding::eCounterClockwise : EWinding::eNotCounterClockwise;
}

}  // namespace

MeshInfo GatherInfo(MoxMesh& pMesh, StepRunner& pRunner)
{
    MeshInfo lInfo;
    lInfo.mControlPoints = pMesh.GetControlPointsCount();
    lInfo.mPolygons = std::to_string(pMesh.GetPolygonCount());
    const std::string lSizes = DescribePolygonSizes(pMesh);
    if (!lSizes.empty()) lInfo.mPolygons += " (" + lSizes + ")";
    lInfo.mPolygonVertices = pMesh.GetPolygonVertexCount();
    ReadAttributes(pMesh, lInfo);

    pRunner.Run("CheckSamePointTwice", [&] {
        lInfo.mHasBadPolygons = pMesh.CheckSamePointTwice();
        return lInfo.mHasBadPolygons ? "bad polygons found" : "no bad polygon";
    });
    pRunner.Run("BuildMeshEdgeArray", [&] { return BuildEdges(pMesh); });
    pRunner.Run("ComputeComponentMaps", [&] {
        MoxMesh::ComponentMap lEdgeToPolygons;
        MoxMesh::ComponentMap lPolygonToEdges;
        pMesh.ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
        lInfo.mEdges = CountEdges(lEdgeToPolygons, pMesh.GetMeshEdgeCount());
        return std::to_string(lInfo.mEdges.mEdges) + " edges classified";
    });
    pRunner.Run("CheckIfVertexNormalsCCW", [&] {
        lInfo.mWinding = CheckWinding(pMesh);
        return lInfo.mWinding == EWinding::eNoNormals ? "no normals" : "checked";
    });
    // Removing is how the bad polygons are counted; it is the last thing done to the mesh.
    pRunner.Run("RemoveBadPolygons", [&] {
        lInfo.mBadPolygons = lInfo.mHasBadPolygons ? pMesh.RemoveBadPolygons() : 0;
        return std::to_string(lInfo.mBadPolygons) + " bad polygons";
    });
    for (const StepRecord& lRecord : pRunner.Records()) {
        if (lInfo.mLibraryReports == 0) lInfo.mFirstLibraryReport = lRecord.FirstReport();
        lInfo.mLibraryReports += lRecord.mReports;
    }
    return lInfo;
}

}  // namespace moxmeshtool
