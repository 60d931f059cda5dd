// meshoptimizer: the remap table of identical vertices (binary equality of the position, stored as three
// floats) over one vertex per polygon corner, as the input of our merge list has one control point per
// corner.
#include <vector>

#include <meshoptimizer.h>

#include "moxpeers.h"

namespace moxpeers {
namespace {

struct Float3 {
    float mX, mY, mZ;
};

// One position per corner. The stream is unindexed, which meshoptimizer reads as triangles: a polygon
// mesh's corner count is rounded up to a multiple of 3 by repeating the last corner.
std::vector<Float3> CornerPositions(const MeshData& pData)
{
    std::vector<Float3> lCorners;
    lCorners.reserve(pData.PolygonVertexCount() + 2);
    for (int lPoint : pData.mPolygonVertices) {
        const double* lPosition = &pData.mPositions[3 * static_cast<size_t>(lPoint)];
        lCorners.push_back(
            {static_cast<float>(lPosition[0]), static_cast<float>(lPosition[1]), static_cast<float>(lPosition[2])});
    }
    while (!lCorners.empty() && lCorners.size() % 3 != 0) lCorners.push_back(lCorners.back());
    return lCorners;
}

void MeasureGenerateVertexRemap(benchmark::State& pState, const BenchMesh& pMesh)
{
    const std::vector<Float3> lCorners = CornerPositions(DataOf(pMesh));
    std::vector<unsigned int> lRemap(lCorners.size());
    size_t lUnique = 0;
    TimedFaults lFaults(pState);
    for (auto _ : pState) {
        lUnique = meshopt_generateVertexRemap(lRemap.data(), nullptr, lCorners.size(), lCorners.data(), lCorners.size(),
                                              sizeof(Float3));
        benchmark::DoNotOptimize(lRemap.data());
    }
    pState.counters["vertices out"] = static_cast<double>(lUnique);
    SetPerPolygon(pState, DataOf(pMesh));
}

}  // namespace

std::vector<Row> MeshoptimizerRows()
{
    return {{"meshopt.generateVertexRemap", MeasureGenerateVertexRemap}};
}

}  // namespace moxpeers
