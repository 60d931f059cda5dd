#include "support/moxtestmeshes.h"

#include <cmath>

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
    lTriangles.reserve(pTriangles);
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
    lPoints.reserve(8);
    for (int i = 0; i < 8; ++i) lPoints.push_back({double(i & 1), double((i >> 1) & 1), double((i >> 2) & 1)});
    BuildMesh(pMesh, lPoints, {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}});
}

void MakeTwoQuads(MoxMesh& pMesh)
{
    BuildMesh(pMesh, {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 0, 0}, {2, 1, 0}}, {{0, 1, 2, 3}, {1, 4, 5, 2}});
}

void MakeFold(MoxMesh& pMesh, double pDegrees)
{
    const double lAngle = pDegrees * 3.14159265358979323846 / 180.0;
    BuildMesh(pMesh,
              {{0, 0, 0},
               {1, 0, 0},
               {1, 1, 0},
               {0, 1, 0},
               {1 + std::cos(lAngle), 0, std::sin(lAngle)},
               {1 + std::cos(lAngle), 1, std::sin(lAngle)}},
              {{0, 1, 2, 3}, {1, 4, 5, 2}});
}

namespace {

// pCount points evenly on the unit circle at height pZ, starting on +x, counter-clockwise from +z.
std::vector<Point> CirclePoints(int pCount, double pZ)
{
    std::vector<Point> lPoints;
    for (int i = 0; i < pCount; ++i) {
        const double lAngle = 2.0 * M_PI * i / pCount;
        lPoints.push_back({std::cos(lAngle), std::sin(lAngle), pZ});
    }
    return lPoints;
}

}  // namespace

void MakeCylinder(MoxMesh& pMesh, int pSides)
{
    std::vector<Point> lPoints = CirclePoints(pSides, 0.0);
    const std::vector<Point> lTop = CirclePoints(pSides, 1.0);
    lPoints.insert(lPoints.end(), lTop.begin(), lTop.end());
    std::vector<std::vector<int>> lPolygons;
    for (int i = 0; i < pSides; ++i) {
        const int j = (i + 1) % pSides;
        lPolygons.push_back({i, j, pSides + j, pSides + i});
    }
    std::vector<int> lBottom;
    std::vector<int> lTopCap;
    for (int i = 0; i < pSides; ++i) {
        lBottom.push_back(pSides - 1 - i);
        lTopCap.push_back(pSides + i);
    }
    lPolygons.push_back(lBottom);
    lPolygons.push_back(lTopCap);
    BuildMesh(pMesh, lPoints, lPolygons);
}

void MakePyramid(MoxMesh& pMesh)
{
    BuildMesh(pMesh, {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}, {0, 0, 1}},
              {{0, 3, 2, 1}, {0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {3, 0, 4}});
}

void MakeFan(MoxMesh& pMesh, int pCount, double pHeight)
{
    std::vector<Point> lPoints{{0, 0, pHeight}};
    const std::vector<Point> lRim = CirclePoints(pCount, 0.0);
    lPoints.insert(lPoints.end(), lRim.begin(), lRim.end());
    std::vector<std::vector<int>> lPolygons;
    lPolygons.reserve(pCount);
    for (int i = 0; i < pCount; ++i) lPolygons.push_back({0, 1 + i, 1 + (i + 1) % pCount});
    BuildMesh(pMesh, lPoints, lPolygons);
}

void MakeGrid(MoxMesh& pMesh, int pColumns, int pRows, bool pClosed)
{
    const int lWidth = pClosed ? pColumns : pColumns + 1;
    const int lHeight = pClosed ? pRows : pRows + 1;
    auto lPoint = [&](int pI, int pJ) { return (pJ % lHeight) * lWidth + pI % lWidth; };
    std::vector<Point> lPoints;
    lPoints.reserve(static_cast<size_t>(lWidth) * static_cast<size_t>(lHeight));
    for (int i = 0; i < lWidth * lHeight; ++i) lPoints.push_back({double(i), double(i % 5), 0.0});
    std::vector<std::vector<int>> lQuads;
    for (int j = 0; j < pRows; ++j)
        for (int i = 0; i < pColumns; ++i)
            lQuads.push_back({lPoint(i, j), lPoint(i + 1, j), lPoint(i + 1, j + 1), lPoint(i, j + 1)});
    BuildMesh(pMesh, lPoints, lQuads);
}

void MakeNGon(MoxMesh& pMesh, int pSides)
{
    std::vector<int> lCorners;
    lCorners.reserve(pSides);
    for (int i = 0; i < pSides; ++i) lCorners.push_back(i);
    BuildMesh(pMesh, CirclePoints(pSides, 0.0), {lCorners});
}

void MakeNonManifoldEdge(MoxMesh& pMesh)
{
    BuildMesh(pMesh, {{0, 0, 0}, {1, 0, 0}, {0.5, 1, 0}, {0.5, -1, 0}, {0.5, 0, 1}}, {{0, 1, 2}, {1, 0, 3}, {0, 1, 4}});
}

void MakeDegeneratePolygons(MoxMesh& pMesh)
{
    BuildMesh(pMesh, {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 0, 0}, {2, 0, 0}},
              {{0, 1, 2, 3}, {1, 4, 1}, {0, 1, 5}, {2, 3}});
}

void MakeInvalidMesh(MoxMesh& pMesh)
{
    BuildMesh(pMesh, {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}},
              {{0, 1, 2, 3}, {4, 5, 4}, {1, 2}, {}, {0, -1, 3}, {3, 2, 4, 7}, {0, 1, 4}});
}

void MakeUVSeam(MoxMesh& pMesh)
{
    MakeTwoQuads(pMesh);
    moxsdk::MoxLayer* lLayer = pMesh.GetLayer(0) ? pMesh.GetLayer(0) : pMesh.GetLayer(pMesh.CreateLayer());
    moxsdk::MoxLayerElementUV* lUVs = moxsdk::MoxLayerElementUV::Create(&pMesh, "seam");
    lUVs->SetMappingMode(moxsdk::MoxLayerElement::eByPolygonVertex);
    lUVs->SetReferenceMode(moxsdk::MoxLayerElement::eIndexToDirect);
    for (int lQuad = 0; lQuad < 2; ++lQuad)
        for (int i = 0; i < 4; ++i) {
            const int lU = (i + 1) / 2 % 2;
            const int lV = i / 2;
            lUVs->mDirectArray->Add(moxsdk::MoxVector2(lU, lV));
            lUVs->mIndexArray->Add(lQuad * 4 + i);
        }
    lLayer->SetUVs(lUVs);
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
