// moxmesh_objread_bench: the tool's OBJ reading beside tinyobjloader's bare parse of the same file, in
// one run, so that their ratio holds whatever the machine's load.
//
// Rows, on a UV-mapped torus of 1M triangles (scripts/torusobj.py, written on first use into the build
// tree; MOX_BENCH_OBJ names another file):
//   <file>/tinyobjloader.LoadObj  tinyobjloader's LoadObj, polygons kept, nothing else
//   <file>/mox.ParseObj           the tool's parse into its flat arrays (LoadObj, then the checks)
//   <file>/mox.ReadMesh           the tool's whole read: the file into a MoxMesh, as `moxmesh process` does
// Counters: "faults/call" (minor page faults per read) and "x LoadObj" (the row's time over LoadObj's of
// the same run; the peer row runs first).
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <tiny_obj_loader.h>

#include "io/meshreader.h"
#include "io/objreader.h"

namespace {

long MinorFaults()
{
    rusage lUsage{};
    getrusage(RUSAGE_SELF, &lUsage);
    return lUsage.ru_minflt;
}

// The file measured: MOX_BENCH_OBJ, or the generated torus (made when missing). Empty when it cannot be
// had.
std::string BenchFile()
{
    const char* lChosen = std::getenv("MOX_BENCH_OBJ");
    if (lChosen && *lChosen) return lChosen;
    std::string lPath = MOX_BENCH_TORUS_OBJ;
    if (std::ifstream(lPath).good()) return lPath;
    std::error_code lError;
    std::filesystem::create_directories(std::filesystem::path(lPath).parent_path(), lError);
    const std::string lCommand = "/usr/bin/python3 " MOX_BENCH_TORUS_SCRIPT " 1000000 " + lPath;
    std::cerr << "moxmesh_objread_bench: writing " << lPath << "\n";
    return std::system(lCommand.c_str()) == 0 ? lPath : std::string();
}

// Seconds per read of the peer row, for the ratio of the rows after it.
double sgLoadObjSeconds = 0.0;

// Times pRead over the state's iterations with its page faults; the counters as described above.
template <class READ>
void Measure(benchmark::State& pState, bool pIsPeer, READ pRead)
{
    const long lFaults = MinorFaults();
    const auto lStart = std::chrono::steady_clock::now();
    for (auto lIteration : pState) pRead();
    const double lSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - lStart).count();
    const double lCalls = static_cast<double>(std::max<benchmark::IterationCount>(pState.iterations(), 1));
    pState.counters["faults/call"] = static_cast<double>(MinorFaults() - lFaults) / lCalls;
    if (pIsPeer) sgLoadObjSeconds = lSeconds / lCalls;
    if (sgLoadObjSeconds > 0.0) pState.counters["x LoadObj"] = lSeconds / lCalls / sgLoadObjSeconds;
}

void LoadObj(benchmark::State& pState, const std::string& pPath)
{
    Measure(pState, true, [&pPath] {
        tinyobj::attrib_t lAttrib;
        std::vector<tinyobj::shape_t> lShapes;
        std::vector<tinyobj::material_t> lMaterials;
        std::string lWarning;
        std::string lError;
        benchmark::DoNotOptimize(
            tinyobj::LoadObj(&lAttrib, &lShapes, &lMaterials, &lWarning, &lError, pPath.c_str(), nullptr, false));
    });
}

void ParseObj(benchmark::State& pState, const std::string& pPath)
{
    Measure(pState, false, [&pPath] {
        moxmeshtool::MeshData lData;
        std::vector<std::string> lNotes;
        moxmeshtool::ParseObj(pPath, lData, lNotes);
        benchmark::DoNotOptimize(lData.mPolygonVertices.data());
    });
}

void ReadMesh(benchmark::State& pState, const std::string& pPath)
{
    Measure(pState, false, [&pPath] { benchmark::DoNotOptimize(moxmeshtool::ReadMesh(pPath)); });
}

}  // namespace

int main(int pArgc, char** pArgv)
{
    benchmark::Initialize(&pArgc, pArgv);
    if (benchmark::ReportUnrecognizedArguments(pArgc, pArgv)) return 1;
    static const std::string sgPath = BenchFile();
    if (sgPath.empty()) {
        std::cerr << "moxmesh_objread_bench: no file to read (scripts/torusobj.py failed)\n";
        return 1;
    }
    const std::string lName = sgPath.substr(sgPath.find_last_of('/') + 1);
    benchmark::RegisterBenchmark((lName + "/tinyobjloader.LoadObj").c_str(), LoadObj, sgPath)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark((lName + "/mox.ParseObj").c_str(), ParseObj, sgPath)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark((lName + "/mox.ReadMesh").c_str(), ReadMesh, sgPath)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
