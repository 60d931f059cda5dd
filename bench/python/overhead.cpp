// The steps of bench/python/overhead.py in C++: a mesh from flat arrays (MeshBuilder, as Mesh.from_arrays
// uses it), BuildMeshEdgeArray, GenerateNormals, the normals per polygon vertex read into a flat array.
// A shared library that overhead.py loads (ctypes) and calls in its own process, so that both languages
// run with the same allocator state and on the same processor.

#include <ctime>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "io/managedmesh.h"
#include "io/meshbuilder.h"

namespace {

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

double ProcessorSeconds()
{
    timespec lTime;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &lTime);
    return static_cast<double>(lTime.tv_sec) + 1e-9 * static_cast<double>(lTime.tv_nsec);
}

double Seconds(const std::function<void()>& pStep)
{
    const double lStart = ProcessorSeconds();
    pStep();
    return ProcessorSeconds() - lStart;
}

}  // namespace

// The processor time of each step (from_arrays, build_edges, generate_normals, normals) for a grid of
// pRows x pColumns quads, two triangles each, into pSeconds[0 .. 3]; the best of pRepetitions.
extern "C" __attribute__((visibility("default"))) void MoxPythonOverhead(int pRows, int pColumns, int pRepetitions,
                                                                         double* pSeconds)
{
    const moxmeshtool::MeshData lData = Grid(pRows, pColumns);
    double* lBest = pSeconds;
    std::fill(lBest, lBest + 4, std::numeric_limits<double>::infinity());
    for (int r = 0; r < pRepetitions; ++r) {
        moxmeshtool::ManagedMesh lMesh;
        std::vector<double> lNormals;
        const double lTimes[4] = {Seconds([&] { moxmeshtool::BuildMesh(lData, lMesh); }),
                                  Seconds([&] { lMesh.Mesh().BuildMeshEdgeArray(); }),
                                  Seconds([&] { lMesh.Mesh().GenerateNormals(true, false, false); }), Seconds([&] {
                                      moxsdk::MoxArray<moxsdk::MoxVector4> lCorners;
                                      lMesh.Mesh().GetPolygonVertexNormals(lCorners);
                                      lNormals.resize(3 * static_cast<size_t>(lCorners.GetCount()));
                                      for (int i = 0; i < lCorners.GetCount(); ++i)
                                          for (int c = 0; c < 3; ++c)
                                              lNormals[3 * static_cast<size_t>(i) + c] = lCorners[i][c];
                                  })};
        for (int s = 0; s < 4; ++s) lBest[s] = std::min(lBest[s], lTimes[s]);
    }
}
