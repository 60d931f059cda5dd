#include "pipeline/edgesmoothing.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "moxsdk/core/base/moxarray.h"

namespace moxmeshtool {
namespace {

using moxsdk::MoxLayerElement;
using moxsdk::MoxMesh;
using moxsdk::MoxVector4;

// Angles within this many degrees above the threshold still count as within it, so that a threshold
// of exactly 90 keeps the edges of a cube soft despite rounding.
constexpr double sgAngleTolerance = 1e-9;

constexpr double sgPi = 3.14159265358979323846;

// What the polygon normals read, looked up once: the polygon vertices and the control points.
struct PolygonSource {
    explicit PolygonSource(const MoxMesh& pMesh)
        : mVertices(pMesh.mPolygonVertices.GetArray()),
          mVertexCount(pMesh.GetPolygonVertexCount()),
          mPoints(pMesh.GetControlPoints()),
          mPointCount(pMesh.GetControlPointsCount())
    {}
    const int* mVertices;
    int mVertexCount;
    const MoxVector4* mPoints;
    int mPointCount;
};

MoxVector4 PolygonNormal(const PolygonSource& pSource, const MoxMesh::PolygonDef& pPolygon)
{
    const int lSize = pPolygon.mSize;
    const int lStart = pPolygon.mIndex;
    if (lSize < 3 || lStart < 0 || lStart + lSize > pSource.mVertexCount) return MoxVector4(0, 0, 0, 0);
    const int* lVertices = pSource.mVertices + lStart;
    for (int k = 0; k < lSize; ++k)
        if (lVertices[k] < 0 || lVertices[k] >= pSource.mPointCount) return MoxVector4(0, 0, 0, 0);
    const MoxVector4* lPoints = pSource.mPoints;
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

// "The angle between two unit normals is within the threshold", decided from their dot product where it
// is far from the threshold's cosine, else from the angle itself (atan2, with the tolerance). For normals
// of length 1 to within 1e-12 in square, the dot product is the cosine of their angle to within 1e-11;
// a cosine more than sgCosineMargin away from the threshold's puts the angle more than sgCosineMargin
// radians (5.7e-5 degrees) away from the threshold, since |d cos| <= |d angle|: far beyond the rounding
// of atan2 and the tolerance, so both ways decide alike. Thresholds outside (0, 180) always take atan2.
class AngleTest {
public:
    explicit AngleTest(double pMaxAngle)
        : mMaxAngle(pMaxAngle),
          mUseCosine(pMaxAngle > 0.0 && pMaxAngle < 180.0),
          mCosine(mUseCosine ? std::cos(pMaxAngle * sgPi / 180.0) : 0.0)
    {}

    bool IsWithin(const MoxVector4& pA, const MoxVector4& pB) const
    {
        if (mUseCosine && IsUnit(pA) && IsUnit(pB)) {
            const double lCosine = pA.DotProduct(pB);
            if (lCosine > mCosine + sgCosineMargin) return true;
            if (lCosine < mCosine - sgCosineMargin) return false;
        }
        return AngleDegrees(pA, pB) <= mMaxAngle + sgAngleTolerance;
    }

private:
    static constexpr double sgCosineMargin = 1e-6;
    static constexpr double sgUnitMargin = 1e-12;

    static bool IsUnit(const MoxVector4& pV) { return std::fabs(pV.SquareLength() - 1.0) <= sgUnitMargin; }

    double mMaxAngle;
    bool mUseCosine;
    double mCosine;
};

// The unit normal of each polygon (ComputePolygonNormals), into pNormals.
void FillPolygonNormals(const MoxMesh& pMesh, MoxVector4* pNormals)
{
    const PolygonSource lSource(pMesh);
    const MoxMesh::PolygonDef* lPolygons = pMesh.mPolygons.GetArray();
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) pNormals[p] = PolygonNormal(lSource, lPolygons[p]);
}

// The polygon normals that the edges are classified by.
struct NormalSpan {
    const MoxVector4* mNormals;
    int mCount;
};

bool IsSoft(const int* pPolygons, int pCount, NormalSpan pNormals, const AngleTest& pAngle)
{
    if (pCount != 2 || pPolygons[0] == pPolygons[1]) return false;
    for (int i = 0; i < 2; ++i)
        if (pPolygons[i] < 0 || pPolygons[i] >= pNormals.mCount ||
            pNormals.mNormals[pPolygons[i]].SquareLength() == 0.0)
            return false;
    return pAngle.IsWithin(pNormals.mNormals[pPolygons[0]], pNormals.mNormals[pPolygons[1]]);
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
    // The old values are all written over: only the index array goes, the direct array keeps its storage.
    lSmoothing->mIndexArray->Clear();
    lSmoothing->SetMappingMode(MoxLayerElement::eByEdge);
    lSmoothing->SetReferenceMode(MoxLayerElement::eDirect);
    return *lSmoothing;
}

// Writes the soft (1) / hard (0) value of edges 0 .. pEdgeCount - 1 to pValues; returns how many are soft.
int ClassifyInto(const MoxMesh::ComponentMap& pEdgeToPolygons, int pEdgeCount, NormalSpan pPolygonNormals,
                 double pMaxAngleDegrees, int* pValues)
{
    const AngleTest lAngle(pMaxAngleDegrees);
    int lSoft = 0;
    for (int e = 0; e < pEdgeCount; ++e) {
        const int* lPolygons = nullptr;
        int lCount = 0;
        EdgePolygons(pEdgeToPolygons, e, lPolygons, lCount);
        pValues[e] = IsSoft(lPolygons, lCount, pPolygonNormals, lAngle) ? 1 : 0;
        lSoft += pValues[e];
    }
    return lSoft;
}

}  // namespace

std::vector<MoxVector4> ComputePolygonNormals(const MoxMesh& pMesh)
{
    std::vector<MoxVector4> lNormals(pMesh.GetPolygonCount());
    FillPolygonNormals(pMesh, lNormals.data());
    return lNormals;
}

std::vector<int> ClassifyEdges(const MoxMesh::ComponentMap& pEdgeToPolygons, int pEdgeCount,
                               const std::vector<MoxVector4>& pPolygonNormals, double pMaxAngleDegrees)
{
    std::vector<int> lValues(pEdgeCount > 0 ? pEdgeCount : 0, 0);
    ClassifyInto(pEdgeToPolygons, pEdgeCount,
                 NormalSpan{pPolygonNormals.data(), static_cast<int>(pPolygonNormals.size())}, pMaxAngleDegrees,
                 lValues.data());
    return lValues;
}

EdgeSmoothingSummary SetSmoothingFromAngle(MoxMesh& pMesh, const MoxMesh::ComponentMap& pEdgeToPolygons,
                                           double pMaxAngleDegrees)
{
    const int lEdgeCount = std::max(pMesh.GetMeshEdgeCount(), 0);
    // Scratch of the library's allocator: large blocks on huge pages, nothing zero-filled first.
    moxsdk::MoxArray<MoxVector4> lNormals;
    if (!lNormals.ResizeUninitialized(pMesh.GetPolygonCount())) throw std::bad_alloc();
    FillPolygonNormals(pMesh, lNormals.GetArray());

    moxsdk::MoxLayerElementSmoothing& lSmoothing = EdgeSmoothingElement(pMesh);
    moxsdk::MoxLayerElementArrayTemplate<int>& lDirect = *lSmoothing.mDirectArray;
    lDirect.SetCount(lEdgeCount);
    if (lDirect.GetCount() != lEdgeCount) throw std::bad_alloc();
    EdgeSmoothingSummary lSummary;
    if (lEdgeCount > 0) {
        // Classified straight into the element.
        int* lWrite = lDirect.GetLocked(moxsdk::MoxLayerElementArray::eReadWriteLock);
        lSummary.mSoft = ClassifyInto(pEdgeToPolygons, lEdgeCount, NormalSpan{lNormals.GetArray(), lNormals.GetCount()},
                                      pMaxAngleDegrees, lWrite);
        lDirect.Release(&lWrite);
    }
    lSummary.mHard = lEdgeCount - lSummary.mSoft;
    lSummary.mEdges = CountEdges(pEdgeToPolygons, lEdgeCount);
    return lSummary;
}

}  // namespace moxmeshtool
