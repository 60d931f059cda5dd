#pragma once
// Shared by the edge table and edge query tests: access to the protected edge members, array snapshots,
// and the random meshes of the oracle comparisons.

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "support/moxtestmeshes.h"
#include "support/moxtestsupport.h"

namespace moxedgetest {

using namespace moxsdk;

constexpr const char* sgFile = "scene/geometry/moxmesh";
constexpr const char* sgArrayFile = "core/base/moxarray";

// Re-exports the protected edge members for the tests.
class MeshAccess : public MoxMesh {
public:
    using MoxMesh::FillMeshEdgeTable;
    using MoxMesh::GetV2PVCount;
    using MoxMesh::mV2PVControlPointCount;
    using MoxMesh::mV2PVNeighbours;
    using MoxMesh::NextV2PVCorner;
};

inline MeshAccess& Access(MoxMesh& pMesh)
{
    return static_cast<MeshAccess&>(pMesh);
}

inline std::vector<int> Values(const MoxArray<int>& pArray)
{
    return std::vector<int>(pArray.begin(), pArray.end());
}

// Count, capacity and the first pSlots slots of an int array's block (slots past the count included).
inline std::vector<int> Block(const MoxArray<int>& pArray, int pSlots)
{
    std::vector<int> lBlock{pArray.GetCount(), pArray.GetCapacity()};
    lBlock.insert(lBlock.end(), pArray.GetArray(), pArray.GetArray() + std::min(pSlots, pArray.GetCapacity()));
    return lBlock;
}

inline std::vector<std::string> Messages(const moxtest::ReportCapture& pCapture)
{
    return pCapture.Messages();
}

// The points of BuildMesh for pCount control points (positions do not matter to edges).
inline std::vector<moxtest::Point> Points(int pCount)
{
    std::vector<moxtest::Point> lPoints;
    lPoints.reserve(pCount);
    for (int i = 0; i < pCount; ++i) lPoints.push_back({double(i), double(i % 7), double(i % 3)});
    return lPoints;
}

// A random mesh whose polygons have between pMinSize and pMaxSize corners, drawn among pPointCount control
// points; with pDistinct the corners of one polygon differ.
inline void MakeSizedMesh(MoxMesh& pMesh, std::mt19937& pRandom, int pPointCount, int pPolygonCount, int pMinSize,
                          int pMaxSize, bool pDistinct)
{
    std::uniform_int_distribution<int> lSize(pMinSize, pMaxSize);
    std::uniform_int_distribution<int> lPoint(0, pPointCount - 1);
    std::vector<std::vector<int>> lPolygons(static_cast<size_t>(pPolygonCount));
    for (std::vector<int>& lPolygon : lPolygons) {
        const int lCount = std::min(lSize(pRandom), pDistinct ? pPointCount : 1000);
        while (static_cast<int>(lPolygon.size()) < lCount) {
            const int lVertex = lPoint(pRandom);
            if (pDistinct && std::find(lPolygon.begin(), lPolygon.end(), lVertex) != lPolygon.end()) continue;
            lPolygon.push_back(lVertex);
        }
    }
    moxtest::BuildMesh(pMesh, Points(pPointCount), lPolygons);
}

// The random meshes of the oracle comparisons, by seed: mixed sizes, degenerate polygons, invalid
// indices, and (one seed in four) few control points under many polygons, so that some control points
// have a high valence.
inline void MakeOracleMesh(MoxMesh& pMesh, unsigned int pSeed)
{
    std::mt19937 lRandom(pSeed);
    moxtest::RandomMeshOptions lOptions;
    lOptions.mInvalidIndices = pSeed % 3 == 0;
    lOptions.mDegenerate = pSeed % 5 != 1;
    if (pSeed % 4 == 0) {
        lOptions.mMinPoints = 2;
        lOptions.mMaxPoints = 6;
        lOptions.mMinPolygons = 20;
        lOptions.mMaxPolygons = 70;
    }
    moxtest::MakeRandomMesh(pMesh, lRandom, lOptions);
}

}  // namespace moxedgetest
