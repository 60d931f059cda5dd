// The steps of bench/python/overhead.py in C++: a mesh from flat arrays (MeshBuilder, as Mesh.from_arrays
// uses it), BuildMeshEdgeArray, GenerateNormals, the normals per polygon vertex read into a flat array.
// Prints the best time of each step over the repetitions as one JSON object, in seconds.
//
// Usage: moxpython_overhead ROWS COLUMNS REPETITIONS (a grid of ROWS x COLUMNS quads, two triangles each).

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <vector>

#include "managedmesh.h"
#include "meshbuilder.h"

namespace {

using Clock = std::chrono::steady_clock;

// The grid of overhead.py: point (i, j) at (j, i, sin(0.05 i) cos(0.03 j)); quad (i, j) as two triangles.
moxmeshtool::MeshData Grid(int pRows, int pColumns)
{
    moxmeshtool::MeshData lData;
    for (int i = 0; i <= pRows; ++i)
        for (int j = 0; j <= pColumns; ++j)
            lData.mPositions.insert(lData.mPositions.end(),
                                    {double(j), double(i), std::sin(0.05 * i) * std::cos(0.03 * j)});
    for (int i = 0; i < pRows; ++i)
        for (int j = 0; j < pColumns; ++j) {
            const int lCorner = i * (pColumns + 1) + j;
            const int lAbove = lCorner + pColumns + 1;
            lData.mPolygonVertices.insert(lData.mPolygonVertices.end(),
                                          {lCorner, lCorner + 1, lAbove + 1, lCorner, lAbove + 1, lAbove});
        }
    lData.mPolygonSizes.assign(lData.mPolygonVertices.size() / 3, 3);
    return lData;
}

double Seconds(const std::function<void()>& pStep)
{
    const auto lStart = Clock::now();
    pStep();
    return std::chrono::duration<double>(Clock::now() - lStart).count();
}

}  // namespace

int main(int pArgumentCount, char** pArguments)
{
    if (pArgumentCount != 4) {
        std::fprintf(stderr, "usage: moxpython_overhead ROWS COLUMNS REPETITIONS\n");
        return 2;
    }
    const moxmeshtool::MeshData lData = Grid(std::atoi(pArguments[1]), std::atoi(pArguments[2]));
    const int lRepetitions = std::max(1, std::atoi(pArguments[3]));
    double lBest[4];
    std::fill(lBest, lBest + 4, std::numeric_limits<double>::infinity());
    for (int r = 0; r < lRepetitions; ++r) {
        moxmeshtool::ManagedMesh lMesh;
        std::vector<double> lNormals;
        const double lTimes[4] = {
            Seconds([&] { moxmeshtool::BuildMesh(lData, lMesh); }),
            Seconds([&] { lMesh.Mesh().BuildMeshEdgeArray(); }),
            Seconds([&] { lMesh.Mesh().GenerateNormals(true, false, false); }),
            Seconds([&] {
                moxsdk::MoxArray<moxsdk::MoxVector4> lCorners;
                lMesh.Mesh().GetPolygonVertexNormals(lCorners);
                lNormals.resize(3 * static_cast<size_t>(lCorners.GetCount()));
                for (int i = 0; i < lCorners.GetCount(); ++i)
                    for (int c = 0; c < 3; ++c) lNormals[3 * static_cast<size_t>(i) + c] = lCorners[i][c];
            })};
        for (int s = 0; s < 4; ++s) lBest[s] = std::min(lBest[s], lTimes[s]);
    }
    std::printf("{\"from_arrays\": %.6f, \"build_edges\": %.6f, \"generate_normals\": %.6f, \"normals\": %.6f, "
                "\"triangles\": %zu}\n",
                lBest[0], lBest[1], lBest[2], lBest[3], lData.PolygonCount());
    return 0;
}
