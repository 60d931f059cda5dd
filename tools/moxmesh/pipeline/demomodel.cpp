#include "pipeline/demomodel.h"

#include <cmath>
#include <initializer_list>
#include <new>

#include "io/meshbuilder.h"
#include "io/toolerror.h"
#include "moxsdk/scene/moxcluster.h"
#include "moxsdk/scene/moxskin.h"

namespace moxmeshtool {
namespace {

constexpr double sgPi = 3.14159265358979323846;
constexpr double sgBulge = 0.15;       // the barrel's radius grows from 1 at the rims to 1 + sgBulge midway
constexpr double sgLidUVRadius = 0.2;  // each lid is a disc of this radius in UV space
constexpr int sgSideMaterial = 0;
constexpr int sgLidMaterial = 1;

// The barrel's points: ring r (0 at the bottom, y = -1) and segment s: point r * segments + s.
int PointIndex(const DemoModelOptions& pOptions, int pRing, int pSegment)
{
    return pRing * pOptions.mSegments + pSegment % pOptions.mSegments;
}

void AddPositions(const DemoModelOptions& pOptions, MeshData& pData)
{
    for (int r = 0; r <= pOptions.mRings; ++r) {
        const double lHeight = static_cast<double>(r) / pOptions.mRings;
        const double lRadius = 1.0 + sgBulge * std::sin(sgPi * lHeight);
        for (int s = 0; s < pOptions.mSegments; ++s) {
            const double lAngle = 2.0 * sgPi * s / pOptions.mSegments;
            pData.mPositions.insert(pData.mPositions.end(),
                                    {lRadius * std::cos(lAngle), 2.0 * lHeight - 1.0, lRadius * std::sin(lAngle)});
        }
    }
}

// UVs: the side's (segments + 1) x (rings + 1) grid in the lower half of UV space (u runs against the
// segments so that the side keeps the lids' handedness), then the bottom and the top lid discs.
void AddUVs(const DemoModelOptions& pOptions, AttributeChannel& pUVs)
{
    pUVs.mName = "map1";
    pUVs.mComponents = 2;
    for (int r = 0; r <= pOptions.mRings; ++r)
        for (int s = 0; s <= pOptions.mSegments; ++s)
            pUVs.mValues.insert(pUVs.mValues.end(),
                                {1.0 - static_cast<double>(s) / pOptions.mSegments, 0.5 * r / pOptions.mRings});
    for (int lLid = 0; lLid < 2; ++lLid)
        for (int s = 0; s < pOptions.mSegments; ++s) {
            const double lAngle = 2.0 * sgPi * s / pOptions.mSegments;
            const double lSign = lLid == 0 ? 1.0 : -1.0;  // the top lid is wound the other way round
            pUVs.mValues.insert(pUVs.mValues.end(), {0.25 + 0.5 * lLid + sgLidUVRadius * std::cos(lAngle),
                                                     0.75 + lSign * sgLidUVRadius * std::sin(lAngle)});
        }
}

void AddPolygon(MeshData& pData, std::initializer_list<int> pPoints, std::initializer_list<int> pUVs, int pMaterial)
{
    pData.mPolygonSizes.push_back(static_cast<int>(pPoints.size()));
    pData.mPolygonVertices.insert(pData.mPolygonVertices.end(), pPoints);
    pData.mUVSets[0].mIndices.insert(pData.mUVSets[0].mIndices.end(), pUVs);
    pData.mPolygonMaterials.push_back(pMaterial);
}

// Side quads, wound counter-clockwise seen from outside: up the segment's first edge, then across.
void AddSide(const DemoModelOptions& pOptions, MeshData& pData)
{
    const int lColumns = pOptions.mSegments + 1;
    for (int r = 0; r < pOptions.mRings; ++r)
        for (int s = 0; s < pOptions.mSegments; ++s)
            AddPolygon(pData,
                       {PointIndex(pOptions, r, s), PointIndex(pOptions, r + 1, s), PointIndex(pOptions, r + 1, s + 1),
                        PointIndex(pOptions, r, s + 1)},
                       {r * lColumns + s, (r + 1) * lColumns + s, (r + 1) * lColumns + s + 1, r * lColumns + s + 1},
                       sgSideMaterial);
}

// The lids: the bottom one with the segments in increasing order (facing down), the top one decreasing.
void AddLids(const DemoModelOptions& pOptions, MeshData& pData)
{
    const int lFirstLidUV = (pOptions.mSegments + 1) * (pOptions.mRings + 1);
    for (int lLid = 0; lLid < 2; ++lLid) {
        const int lRing = lLid == 0 ? 0 : pOptions.mRings;
        for (int k = 0; k < pOptions.mSegments; ++k) {
            const int s = lLid == 0 ? k : pOptions.mSegments - 1 - k;
            pData.mPolygonVertices.push_back(PointIndex(pOptions, lRing, s));
            pData.mUVSets[0].mIndices.push_back(lFirstLidUV + lLid * pOptions.mSegments + s);
        }
        pData.mPolygonSizes.push_back(pOptions.mSegments);
        pData.mPolygonMaterials.push_back(sgLidMaterial);
    }
}

void AddSkin(const DemoModelOptions& pOptions, ManagedMesh& pTarget)
{
    moxsdk::MoxSkin* lSkin = moxsdk::MoxSkin::Create(&pTarget.Manager(), "skin");
    moxsdk::MoxCluster* lLower = moxsdk::MoxCluster::Create(&pTarget.Manager(), "lower");
    moxsdk::MoxCluster* lUpper = moxsdk::MoxCluster::Create(&pTarget.Manager(), "upper");
    if (!lSkin || !lLower || !lUpper || !lSkin->AddCluster(lLower) || !lSkin->AddCluster(lUpper) ||
        pTarget.Mesh().AddDeformer(lSkin) < 0)
        throw std::bad_alloc();
    for (int r = 0; r <= pOptions.mRings; ++r) {
        const double lUpperWeight = static_cast<double>(r) / pOptions.mRings;
        for (int s = 0; s < pOptions.mSegments; ++s) {
            if (lUpperWeight < 1.0) lLower->AddControlPointIndex(PointIndex(pOptions, r, s), 1.0 - lUpperWeight);
            if (lUpperWeight > 0.0) lUpper->AddControlPointIndex(PointIndex(pOptions, r, s), lUpperWeight);
        }
    }
}

}  // namespace

std::string DescribeDemoModel(const DemoModelOptions& pOptions)
{
    return "a skinned barrel: " + std::to_string(pOptions.mSegments) + " x " + std::to_string(pOptions.mRings) +
           " side quads (soft edges), two " + std::to_string(pOptions.mSegments) +
           "-sided lids (hard rims), UV seams, 2 materials, a skin of 2 clusters, 1 bad polygon (for the clean-up)";
}

MeshData MakeDemoModelData(const DemoModelOptions& pOptions)
{
    if (pOptions.mSegments < 3 || pOptions.mRings < 1 ||
        static_cast<long long>(pOptions.mSegments) * pOptions.mRings > sgMaxDemoQuads)
        throw ToolError("demo", "the model needs at least 3 segments and 1 ring, and at most " +
                                    std::to_string(sgMaxDemoQuads) + " quads");
    MeshData lData;
    lData.mMaterialNames = {"side", "lids"};
    lData.mUVSets.resize(1);
    AddPositions(pOptions, lData);
    AddUVs(pOptions, lData.mUVSets[0]);
    AddSide(pOptions, lData);
    AddLids(pOptions, lData);
    // The bad polygon: the lower rim's first side repeated into a triangle with a point twice.
    AddPolygon(lData, {PointIndex(pOptions, 0, 0), PointIndex(pOptions, 0, 1), PointIndex(pOptions, 0, 1)}, {0, 1, 1},
               sgSideMaterial);
    return lData;
}

void BuildDemoModel(const DemoModelOptions& pOptions, ManagedMesh& pTarget)
{
    BuildMesh(MakeDemoModelData(pOptions), pTarget);
    AddSkin(pOptions, pTarget);
}

}  // namespace moxmeshtool
