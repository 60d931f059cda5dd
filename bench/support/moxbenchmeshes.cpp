#include "moxbenchmeshes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>

namespace moxbench {
namespace {

constexpr double sgPi = 3.14159265358979323846;
constexpr double sgMajorRadius = 1.0;
constexpr double sgMinorRadius = 0.4;

// The nu x nv grid of control points on the torus, wrapped in both directions.
struct TorusGrid {
    int mNu;
    int mNv;

    int Point(int pI, int pJ) const { return (pI % mNu) * mNv + pJ % mNv; }
    int UV(int pI, int pJ) const { return pI * (mNv + 1) + pJ; }
};

// nv = round(sqrt(q / 2)), nu = round(q / nv) for about pQuadCount quads; at least 3 each, so that every
// polygon has distinct corners.
TorusGrid GridForQuads(double pQuadCount)
{
    const int lNv = std::max(3, static_cast<int>(std::lround(std::sqrt(pQuadCount / 2.0))));
    const int lNu = std::max(3, static_cast<int>(std::lround(pQuadCount / lNv)));
    return TorusGrid{lNu, lNv};
}

// Control points with a tube radius of sgMinorRadius * (1 + pBump sin(5u) cos(3v)); the plain torus has
// pBump = 0.
void AddPositions(const TorusGrid& pGrid, double pBump, MeshData& pMesh)
{
    pMesh.mPositions.reserve(static_cast<size_t>(pGrid.mNu) * pGrid.mNv * 3);
    for (int i = 0; i < pGrid.mNu; ++i) {
        const double lU = 2.0 * sgPi * i / pGrid.mNu;
        for (int j = 0; j < pGrid.mNv; ++j) {
            const double lV = 2.0 * sgPi * j / pGrid.mNv;
            const double lTube = sgMinorRadius * (1.0 + pBump * std::sin(5.0 * lU) * std::cos(3.0 * lV));
            pMesh.mPositions.push_back((sgMajorRadius + lTube * std::cos(lV)) * std::cos(lU));
            pMesh.mPositions.push_back((sgMajorRadius + lTube * std::cos(lV)) * std::sin(lU));
            pMesh.mPositions.push_back(lTube * std::sin(lV));
        }
    }
}

// The (nu + 1) x (nv + 1) UV grid: (i / nu, j / nv).
void AddUVs(const TorusGrid& pGrid, MeshData& pMesh)
{
    pMesh.mUVs.reserve(static_cast<size_t>(pGrid.mNu + 1) * (pGrid.mNv + 1) * 2);
    for (int i = 0; i <= pGrid.mNu; ++i) {
        for (int j = 0; j <= pGrid.mNv; ++j) {
            pMesh.mUVs.push_back(static_cast<double>(i) / pGrid.mNu);
            pMesh.mUVs.push_back(static_cast<double>(j) / pGrid.mNv);
        }
    }
}

// One corner of quad (pI, pJ): pCorner 0..3 is (i, j), (i+1, j), (i+1, j+1), (i, j+1).
void AddCorner(const TorusGrid& pGrid, int pI, int pJ, int pCorner, MeshData& pMesh)
{
    const int lI = pI + (pCorner == 1 || pCorner == 2 ? 1 : 0);
    const int lJ = pJ + (pCorner >= 2 ? 1 : 0);
    pMesh.mPolygonVertices.push_back(pGrid.Point(lI, lJ));
    pMesh.mUVIndices.push_back(pGrid.UV(lI, lJ));
}

// Appends one polygon of quad (pI, pJ) made of the given corners (0..3).
void AddPolygon(const TorusGrid& pGrid, int pI, int pJ, std::initializer_list<int> pCorners, MeshData& pMesh)
{
    pMesh.mPolygonSizes.push_back(static_cast<int>(pCorners.size()));
    for (int lCorner : pCorners) AddCorner(pGrid, pI, pJ, lCorner, pMesh);
}

// splitmix64: a well-mixed, platform-independent hash of a 64-bit key.
uint64_t Hash(uint64_t pKey)
{
    pKey += 0x9e3779b97f4a7c15ull;
    pKey = (pKey ^ (pKey >> 30)) * 0xbf58476d1ce4e5b9ull;
    pKey = (pKey ^ (pKey >> 27)) * 0x94d049bb133111ebull;
    return pKey ^ (pKey >> 31);
}

}  // namespace

int MeshData::TriangleCount() const
{
    int lCount = 0;
    for (int lSize : mPolygonSizes) lCount += lSize - 2;
    return lCount;
}

MeshData Torus(int pTriangleCount, ETorusPolygons pPolygons)
{
    const TorusGrid lGrid = GridForQuads(pTriangleCount / 2.0);
    MeshData lMesh;
    AddPositions(lGrid, 0.0, lMesh);
    AddUVs(lGrid, lMesh);
    for (int i = 0; i < lGrid.mNu; ++i) {
        for (int j = 0; j < lGrid.mNv; ++j) {
            if (pPolygons == ETorusPolygons::eQuads) {
                AddPolygon(lGrid, i, j, {0, 1, 2, 3}, lMesh);
            } else {
                AddPolygon(lGrid, i, j, {0, 1, 2}, lMesh);
                AddPolygon(lGrid, i, j, {0, 2, 3}, lMesh);
            }
        }
    }
    return lMesh;
}

MeshData MixedMesh(int pPolygonCount, unsigned int pSeed)
{
    // Half of the quads split: q quads give about 1.5 q polygons.
    const TorusGrid lGrid = GridForQuads(pPolygonCount / 1.5);
    MeshData lMesh;
    AddPositions(lGrid, 0.1, lMesh);
    AddUVs(lGrid, lMesh);
    for (int i = 0; i < lGrid.mNu; ++i) {
        for (int j = 0; j < lGrid.mNv; ++j) {
            const uint64_t lHash = Hash((uint64_t(pSeed) << 32) | uint64_t(lGrid.Point(i, j)));
            if ((lHash & 1) == 0) {
                AddPolygon(lGrid, i, j, {0, 1, 2, 3}, lMesh);
            } else if ((lHash & 2) == 0) {
                AddPolygon(lGrid, i, j, {0, 1, 2}, lMesh);
                AddPolygon(lGrid, i, j, {0, 2, 3}, lMesh);
            } else {
                AddPolygon(lGrid, i, j, {0, 1, 3}, lMesh);
                AddPolygon(lGrid, i, j, {1, 2, 3}, lMesh);
            }
        }
    }
    return lMesh;
}

MeshData Fan(int pTriangleCount)
{
    MeshData lMesh;
    const int lRimCount = pTriangleCount + 1;
    lMesh.mPositions = {0.0, 0.0, 0.0};
    lMesh.mUVs = {0.5, 0.5};
    for (int i = 0; i < lRimCount; ++i) {
        const double lAngle = 2.0 * sgPi * i / lRimCount;
        lMesh.mPositions.insert(lMesh.mPositions.end(), {std::cos(lAngle), std::sin(lAngle), 0.0});
        lMesh.mUVs.insert(lMesh.mUVs.end(), {0.5 + 0.5 * std::cos(lAngle), 0.5 + 0.5 * std::sin(lAngle)});
    }
    for (int i = 0; i < pTriangleCount; ++i) {
        lMesh.mPolygonSizes.push_back(3);
        for (int lPoint : {0, i + 2, i + 1}) {
            lMesh.mPolygonVertices.push_back(lPoint);
            lMesh.mUVIndices.push_back(lPoint);
        }
    }
    return lMesh;
}

}  // namespace moxbench
