#pragma once
// moxpeers_bench: moxsdk's mesh operations and the nearest operations of established libraries (Assimp's
// post-processing steps, meshoptimizer, OpenMesh), timed in one program on the same in-memory meshes.
//
// Every benchmark is named "<mesh>/<side>.<operation>", e.g. "torus_tri_1M/mox.BuildMeshEdgeArray" or
// "torus_tri_1M/assimp.CalcTangentSpace"; scripts/benchtable.py pairs each of our operations with its
// peers by these names. The benchmarks of one mesh run one after the other, so a mesh's data is made
// when its first benchmark starts and released when the next mesh's first one does.

#include <functional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "io/meshdata.h"

namespace moxpeers {

using moxmeshtool::MeshData;

struct BenchMesh {
    std::string mName;  // "torus_tri_1M", "torus_quad_1M", "obj_spot", "demo_model"
    std::function<MeshData()> mMake;
    bool mHasUVs = false;
    bool mIsDemoModel = false;  // the tool's demo model, whose pipeline row builds it with its skin
};

// The meshes: the shared torus (triangles and quads) at 10k, 100k and 1M triangles and, with pFull, 4M;
// the tool's demo model; every .obj file of pObjDirectory (none when it does not exist; a file that
// cannot be read is named on stderr and left out).
std::vector<BenchMesh> MakeBenchMeshes(bool pFull, const std::string& pObjDirectory);

// pMesh's data, made on first use; the data of the mesh measured before is released.
const MeshData& DataOf(const BenchMesh& pMesh);

// One row of the table: a named measurement run on every mesh (or only on meshes with a UV set).
struct Row {
    const char* mName;  // "mox.BuildMeshEdgeArray"
    void (*mMeasure)(benchmark::State&, const BenchMesh&);
    bool mNeedsUVs = false;
};

std::vector<Row> OurRows();
std::vector<Row> AssimpRows();
std::vector<Row> MeshoptimizerRows();
std::vector<Row> OpenMeshRows();

// Counters of every row: the mesh's polygons and triangles (after fanning), and the time per polygon.
void SetPerPolygon(benchmark::State& pState, const MeshData& pData);

// The counter "faults/call" of a row: the process's minor page faults (getrusage) while the row's loop is
// timed, per iteration. Made right before the loop; Pause and Resume stand for the state's PauseTiming and
// ResumeTiming, so that the untimed preparation of an iteration is left out of the count as of the time.
class TimedFaults {
public:
    explicit TimedFaults(benchmark::State& pState);
    ~TimedFaults();
    TimedFaults(const TimedFaults&) = delete;
    TimedFaults& operator=(const TimedFaults&) = delete;

    void Pause();
    void Resume();

private:
    benchmark::State& mState;
    long mCounted = 0;  // faults of the timed parts that ended
    long mStart;        // the process's count when the running timed part began
};

}  // namespace moxpeers
