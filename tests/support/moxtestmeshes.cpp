#include "support/moxtestmeshes.h"

namespace moxtest {

using moxsdk::MoxMesh;
using moxsdk::MoxVector4;

ManagerScope::ManagerScope() : mManager(moxsdk::MoxManager::Create()) {}

ManagerScope::~ManagerScope()
{
    if (mManager) mManager->Destroy();
}

MoxMesh* ManagerScope::NewMesh(const char* pName) const
{
    return MoxMesh::Create(mManager, pName);
}

void BuildMesh(MoxMesh& pMesh, const std::vector<Point>& pPoints, const std::vector<std::vector<int>>& pPolygons)
{
    pMesh.Reset();
    pMesh.InitControlPoints(static_cast<int>(pPoints.size()));
    for (size_t i = 0; i < pPoints.size(); ++i)
        pMesh.SetControlPointAt(MoxVector4(pPoints[i].mX, pPoints[i].mY, pPoints[i].mZ), static_cast<int>(i));
    for (const std::vector<int>& lPolygon : pPolygons) {
        pMesh.BeginPolygon(-1, -1, -1, true);
        for (int lVertex : lPolygon) pMesh.AddPolygon(lVertex, -1);
        pMesh.EndPolygon();
    }
}

void MakeQuad(MoxMesh& pMesh)
{
    BuildMesh(pMesh, {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{0, 1, 2, 3}});
}

void MakeClosedFan(MoxMesh& pMesh, int pTriangles, int pPointCount)
{
    std::vector<Point> lPoints{{0, 0, 1}};
    for (int i = 1; i < pPointCount; ++i) lPoints.push_back({double(i), double(i % 3), 0});
    std::vector<std::vector<int>> lTriangles;
    for (int i = 0; i < pTriangles; ++i) lTriangles.push_back({0, 1 + i, 1 + (i + 1) % pTriangles});
    BuildMesh(pMesh, lPoints, lTriangles);
}

void MakeBusyFan(MoxMesh& pMesh, std::mt19937& pRandom, int pTriangles, int pPointCount)
{
    MakeClosedFan(pMesh, pTriangles, pPointCount);
    std::uniform_int_distribution<int> lPoint(1, pPointCount - 1);
    for (int k = std::uniform_int_distribution<int>(0, 3)(pRandom); k > 0; --k) {
        pMesh.BeginPolygon(-1, -1, -1, true);
        for (int lVertex : {0, lPoint(pRandom), lPoint(pRandom)}) pMesh.AddPolygon(lVertex, -1);
        pMesh.EndPolygon();
    }
}

void EditPolygonsRandomly(MoxMesh& pMesh, std::mt19937& pRandom, bool pRecordMemberWrites)
{
    auto lPick = [&pRandom](int pLow, int pHigh) { return std::uniform_int_distribution<int>(pLow, pHigh)(pRandom); };
    const int lPointCount = pMesh.GetControlPointsCount();
    switch (lPick(0, 3)) {
        case 1:
            pMesh.GetPolygonVertices()[lPick(0, pMesh.GetPolygonVertexCount() - 1)] = lPick(0, lPointCount - 1);
            break;
        case 2:
            pMesh.mPolygonVertices[lPick(0, pMesh.GetPolygonVertexCount() - 1)] = lPick(0, lPointCount - 1);
            if (pRecordMemberWrites) pMesh.NotePolygonEdit();
            break;
        case 3:
            pMesh.RemovePolygon(lPick(0, pMesh.GetPolygonCount() - 1));
            pMesh.BeginPolygon(-1, -1, -1, true);
            for (int k = 0; k < 3; ++k) pMesh.AddPolygon(lPick(0, 3) == 0 ? 0 : lPick(0, lPointCount - 1), -1);
            pMesh.EndPolygon();
            break;
        default:
            break;
    }
}

void MakeTwoTriangles(MoxMesh& pMesh)
{
    BuildMesh(pMesh, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {{0, 1, 2}, {2, 1, 3}});
}

void MakeCube(MoxMesh& pMesh)
{
    std::vector<Point> lPoints;
    for (int i = 0; i < 8; ++i) lPoints.push_back({double(i & 1), double((i >> 1) & 1), double((i >> 2) & 1)});
    BuildMesh(pMesh, lPoints,
              {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}});
}

void MakeRandomMesh(MoxMesh& pMesh, std::mt19937& pRandom, const RandomMeshOptions& pOptions)
{
    auto lUniform = [&pRandom](int pLow, int pHigh) {
        return std::uniform_int_distribution<int>(pLow, pHigh)(pRandom);
    };
    const int lPointCount = lUniform(pOptions.mMinPoints, pOptions.mMaxPoints);
    std::vector<Point> lPoints;
    for (int i = 0; i < lPointCount; ++i) {
        if (pOptions.mCoincidentPoints && i > 0 && lUniform(0, 7) == 0) {
            lPoints.push_back(lPoints[lUniform(0, i - 1)]);
        } else {
            lPoints.push_back({lUniform(-4, 4) * 0.5, lUniform(-4, 4) * 0.5, lUniform(-4, 4) * 0.5});
        }
    }
    std::vector<std::vector<int>> lPolygons(lUniform(pOptions.mMinPolygons, pOptions.mMaxPolygons));
    for (std::vector<int>& lPolygon : lPolygons) {
        const int lMinSize = pOptions.mDegenerate ? 0 : 3;
        const int lSize = lUniform(lMinSize, pOptions.mMaxPolygonSize < lMinSize ? lMinSize : pOptions.mMaxPolygonSize);
        for (int k = 0; k < lSize; ++k) {
            int lVertex = lPointCount > 0 ? lUniform(0, lPointCount - 1) : 0;
            if (!pOptions.mDegenerate && lPointCount >= lSize) {
                // Distinct corners: redraw until unused in this polygon.
                while (std::find(lPolygon.begin(), lPolygon.end(), lVertex) != lPolygon.end())
                    lVertex = lUniform(0, lPointCount - 1);
            }
            if (pOptions.mInvalidIndices && lUniform(0, 15) == 0)
                lVertex = lUniform(0, 1) == 0 ? -1 - lUniform(0, 2) : lPointCount + lUniform(0, 2);
            lPolygon.push_back(lVertex);
        }
    }
    BuildMesh(pMesh, lPoints, lPolygons);
}

}  // namespace moxtest
