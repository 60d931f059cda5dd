#include "edgesmoothing.h"

#include <cmath>
#include <new>

namespace moxmeshtool {
namespace {

using moxsdk::MoxLayerElement;
using moxsdk::MoxMesh;
using moxsdk::MoxVector4;

// Angles within this many degrees above the threshold still count as within it, so that a threshold
// of exactly 90 keeps the edges of a cube soft despite rounding.
constexpr double sgAngleTolerance = 1e-9;

constexpr double sgPi = 3.14159265358979323846;

MoxVector4 PolygonNormal(const MoxMesh& pMesh, int pPolygon)
{
    const int lSize = pMesh.GetPolygonSize(pPolygon);
    const int lStart = pMesh.GetPolygonVertexIndex(pPolygon);
    const int lPointCount = pMesh.GetControlPointsCount();
    if (lSize < 3 || lStart < 0 || lStart + lSize > pMesh.GetPolygonVertexCount()) return MoxVector4(0, 0, 0, 0);
    const int* lVertices = pMesh.GetPolygonVertices() + lStart;
    for (int k = 0; k < lSize; ++k)
        if (lVertices[k] < 0 || lVertices[k] >= lPointCount) return MoxVector4(0, 0, 0, 0);
    const MoxVector4* lPoints = pMesh.GetControlPoints();
    const MoxVector4& lOrigin = lPoints[lVertices[0]];
    MoxVector4 lSum(0, 0, 0, 0);
    for (int k = 1; k + 1 < lSize; ++k)
        lSum += (lPoints[lVertices[k]] - lOrigin).CrossProduct(lPoints[lVertices[k + 1]] - lOrigin);
    lSum[3] = 0.0;
    return lSum.Normalize() > 0.0 ? lSum : MoxVector4(0, 0, 0, 0);
}

// The angle between two unit normals in degrees (atan2 keeps small angles accurate).
double AngleDegrees(const MoxVector4& pA, const MoxVector4& pB)
{
    return std::atan2(pA.CrossProduct(pB).Length(), pA.DotProduct(pB)) * 180.0 / sgPi;
}

bool IsSoft(const int* pPolygons, int pCount, const std::vector<MoxVector4>& pNormals, double pMaxAngle)
{
    if (pCount != 2 || pPolygons[0] == pPolygons[1]) return false;
    for (int i = 0; i < 2; ++i)
        if (pPolygons[i] < 0 || pPolygons[i] >= static_cast<int>(pNormals.size()) ||
            pNormals[pPolygons[i]].SquareLength() == 0.0)
            return false;
    return AngleDegrees(pNormals[pPolygons[0]], pNormals[pPolygons[1]]) <= pMaxAngle + sgAngleTolerance;
}

// Layer 0's smoothing element, by edge and direct (created when missing, its old values dropped).
moxsdk::MoxLayerElementSmoothing& EdgeSmoothingElement(MoxMesh& pMesh)
{
    if (!pMesh.GetLayer(0) && pMesh.CreateLayer() < 0) throw std::bad_alloc();
    moxsdk::MoxLayer& lLayer = *pMesh.GetLayer(0);
    moxsdk::MoxLayerElementSmoothing* lSmoothing = lLayer.GetSmoothing();
    if (!lSmoothing) {
        lSmoothing = moxsdk::MoxLayerElementSmoothing::Create(&pMesh, "");
        if (!lSmoothing) throw std::bad_alloc();
        lLayer.SetSmoothing(lSmoothing);
    }
    lSmoothing->Clear();
    lSmoothing->SetMappingMode(MoxLayerElement::eByEdge);
    lSmoothing->SetReferenceMode(MoxLayerElement::eDirect);
    return *lSmoothing;
}

}  // namespace

std::vector<MoxVector4> ComputePolygonNormals(const MoxMesh& pMesh)
{
    std::vector<MoxVector4> lNormals(pMesh.GetPolygonCount());
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) lNormals[p] = PolygonNormal(pMesh, p);
    return lNormals;
}

std::vector<int> ClassifyEdges(const MoxMesh::ComponentMap& pEdgeToPolygons, int pEdgeCount,
                               const std::vector<MoxVector4>& pPolygonNormals, double pMaxAngleDegrees)
{
    std::vector<int> lValues(pEdgeCount > 0 ? pEdgeCount : 0, 0);
    for (int e = 0; e < pEdgeCount; ++e) {
        const int* lPolygons = nullptr;
        int lCount = 0;
        EdgePolygons(pEdgeToPolygons, e, lPolygons, lCount);
        lValues[e] = IsSoft(lPolygons, lCount, pPolygonNormals, pMaxAngleDegrees) ? 1 : 0;
    }
    return lValues;
}

EdgeSmoothingSummary SetSmoothingFromAngle(MoxMesh& pMesh, const MoxMesh::ComponentMap& pEdgeToPolygons,
                                           double pMaxAngleDegrees)
{
    const int lEdgeCount = pMesh.GetMeshEdgeCount();
    const std::vector<int> lValues =
        ClassifyEdges(pEdgeToPolygons, lEdgeCount, ComputePolygonNormals(pMesh), pMaxAngleDegrees);

    moxsdk::MoxLayerElementSmoothing& lSmoothing = EdgeSmoothingElement(pMesh);
    moxsdk::MoxLayerElementArrayTemplate<int>& lDirect = *lSmoothing.mDirectArray;
    lDirect.SetCount(lEdgeCount);
    if (lDirect.GetCount() != lEdgeCount) throw std::bad_alloc();
    EdgeSmoothingSummary lSummary;
    if (lEdgeCount > 0) {
        int* lWrite = lDirect.GetLocked(moxsdk::MoxLayerElementArray::eReadWriteLock);
        for (int e = 0; e < lEdgeCount; ++e) lWrite[e] = lValues[e];
        lDirect.Release(&lWrite);
    }
    for (int lValue : lValues) ++(lValue > 0 ? lSummary.mSoft : lSummary.mHard);
    lSummary.mEdges = CountEdges(pEdgeToPolygons, lEdgeCount);
    return lSummary;
}

}  // namespace moxmeshtool
