// moxpeers_bench [--full] [Google Benchmark options]: see moxpeers.h. --full adds the meshes of 4M
// triangles. The .obj files measured are those of the directory named by MOX_BENCH_DATA, by default the
// shared data directory beside the repository (../shared/data from its root).
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "moxpeers.h"
#include "pipeline/libraryreports.h"

namespace {

using namespace moxpeers;

// Removes pFlag from the arguments; whether it was there.
bool TakeFlag(int& pArgc, char** pArgv, const char* pFlag)
{
    bool lFound = false;
    int lKept = 1;
    for (int i = 1; i < pArgc; ++i) {
        if (std::strcmp(pArgv[i], pFlag) == 0)
            lFound = true;
        else
            pArgv[lKept++] = pArgv[i];
    }
    pArgc = lKept;
    return lFound;
}

std::string ObjDirectory()
{
    const char* lDirectory = std::getenv("MOX_BENCH_DATA");
    return lDirectory && *lDirectory ? lDirectory : MOX_BENCH_DEFAULT_DATA;
}

// Runs one measurement with the library's reports collected instead of printed (a report per edge or per
// polygon would time the printing); their number becomes a counter of the row. On these meshes only
// SplitPoints reports, that the mesh it splits has no normals, and the demo model's bad polygon.
void Measure(benchmark::State& pState, const BenchMesh& pMesh, void (*pMeasure)(benchmark::State&, const BenchMesh&))
{
    moxmeshtool::LibraryReports lReports;
    pMeasure(pState, pMesh);
    if (lReports.CountSinceMark() > 0)
        pState.counters["library reports"] = static_cast<double>(lReports.CountSinceMark());
}

// Mesh after mesh, each with our rows, then the peers'.
void RegisterAll(const std::vector<BenchMesh>& pMeshes)
{
    std::vector<Row> lRows = OurRows();
    for (const std::vector<Row>& lPeerRows : {AssimpRows(), MeshoptimizerRows(), OpenMeshRows()})
        lRows.insert(lRows.end(), lPeerRows.begin(), lPeerRows.end());
    for (const BenchMesh& lMesh : pMeshes)
        for (const Row& lRow : lRows) {
            if (lRow.mNeedsUVs && !lMesh.mHasUVs) continue;
            const BenchMesh* lMeshPointer = &lMesh;
            const auto lMeasure = lRow.mMeasure;
            const auto lRun = [lMeshPointer, lMeasure](benchmark::State& pState) {
                Measure(pState, *lMeshPointer, lMeasure);
            };
            benchmark::RegisterBenchmark((lMesh.mName + "/" + lRow.mName).c_str(), lRun)->Unit(benchmark::kMillisecond);
        }
}

}  // namespace

int main(int pArgc, char** pArgv)
{
    const bool lFull = TakeFlag(pArgc, pArgv, "--full");
    benchmark::Initialize(&pArgc, pArgv);
    if (benchmark::ReportUnrecognizedArguments(pArgc, pArgv)) return 1;
    static const std::vector<BenchMesh> sgMeshes = MakeBenchMeshes(lFull, ObjDirectory());
    RegisterAll(sgMeshes);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
