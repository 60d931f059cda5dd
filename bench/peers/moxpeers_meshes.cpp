#include <algorithm>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <memory>
#include <utility>

#include <sys/resource.h>

#include "io/objreader.h"
#include "io/toolerror.h"
#include "moxpeers.h"
#include "pipeline/demomodel.h"
#include "support/moxbenchmeshes.h"

namespace moxpeers {
namespace {

long MinorFaults()
{
    rusage lUsage{};
    getrusage(RUSAGE_SELF, &lUsage);
    return lUsage.ru_minflt;
}

struct TorusSize {
    const char* mName;
    int mTriangles;
};

constexpr TorusSize sgSizes[] = {{"10k", 10000}, {"100k", 100000}, {"1M", 1000000}, {"4M", 4000000}};
constexpr int sgDefaultSizeCount = 3;

// The torus in the tool's form: the same arrays, the UVs as the one UV set.
MeshData TorusData(int pTriangles, moxbench::ETorusPolygons pPolygons)
{
    moxbench::MeshData lTorus = moxbench::Torus(pTriangles, pPolygons);
    MeshData lData;
    lData.mPositions.assign(lTorus.mPositions.begin(), lTorus.mPositions.end());
    lData.mPolygonSizes.assign(lTorus.mPolygonSizes.begin(), lTorus.mPolygonSizes.end());
    lData.mPolygonVertices.assign(lTorus.mPolygonVertices.begin(), lTorus.mPolygonVertices.end());
    moxmeshtool::AttributeChannel lUVs;
    lUVs.mName = "uv";
    lUVs.mComponents = 2;
    lUVs.mValues.assign(lTorus.mUVs.begin(), lTorus.mUVs.end());
    lUVs.mIndices.assign(lTorus.mUVIndices.begin(), lTorus.mUVIndices.end());
    lData.mUVSets.push_back(std::move(lUVs));
    return lData;
}

void AddTorusMeshes(bool pFull, std::vector<BenchMesh>& pMeshes)
{
    const int lSizeCount = pFull ? static_cast<int>(std::size(sgSizes)) : sgDefaultSizeCount;
    for (int s = 0; s < lSizeCount; ++s) {
        const TorusSize lSize = sgSizes[s];
        pMeshes.push_back({std::string("torus_tri_") + lSize.mName,
                           [lSize] { return TorusData(lSize.mTriangles, moxbench::ETorusPolygons::eTriangles); }, true,
                           false});
        pMeshes.push_back({std::string("torus_quad_") + lSize.mName,
                           [lSize] { return TorusData(lSize.mTriangles, moxbench::ETorusPolygons::eQuads); }, true,
                           false});
    }
}

// The .obj files of pDirectory in name order, each read once here (to leave out what cannot be read) and
// kept in that form.
void AddObjMeshes(const std::string& pDirectory, std::vector<BenchMesh>& pMeshes)
{
    std::error_code lError;
    if (!std::filesystem::is_directory(pDirectory, lError)) return;
    std::vector<std::filesystem::path> lFiles;
    for (const auto& lEntry : std::filesystem::directory_iterator(pDirectory, lError))
        if (lEntry.is_regular_file(lError) && lEntry.path().extension() == ".obj") lFiles.push_back(lEntry.path());
    std::sort(lFiles.begin(), lFiles.end());
    for (const std::filesystem::path& lFile : lFiles) {
        auto lData = std::make_shared<MeshData>();
        std::vector<std::string> lNotes;
        try {
            moxmeshtool::ParseObj(lFile.string(), *lData, lNotes);
        } catch (const moxmeshtool::ToolError& lFailure) {
            std::cerr << "moxpeers_bench: left out: " << lFailure.what() << "\n";
            continue;
        }
        pMeshes.push_back({"obj_" + lFile.stem().string(), [lData] { return *lData; }, !lData->mUVSets.empty(), false});
    }
}

}  // namespace

std::vector<BenchMesh> MakeBenchMeshes(bool pFull, const std::string& pObjDirectory)
{
    std::vector<BenchMesh> lMeshes;
    AddTorusMeshes(pFull, lMeshes);
    lMeshes.push_back(
        {"demo_model", [] { return moxmeshtool::MakeDemoModelData(moxmeshtool::DemoModelOptions()); }, true, true});
    AddObjMeshes(pObjDirectory, lMeshes);
    return lMeshes;
}

const MeshData& DataOf(const BenchMesh& pMesh)
{
    static const BenchMesh* sgCurrent = nullptr;
    static std::unique_ptr<MeshData> sgData;
    if (sgCurrent != &pMesh) {
        sgData.reset();  // before making the next, so that two large meshes are never held together
        sgData = std::make_unique<MeshData>(pMesh.mMake());
        sgCurrent = &pMesh;
    }
    return *sgData;
}

void SetPerPolygon(benchmark::State& pState, const MeshData& pData)
{
    const double lPolygons = static_cast<double>(pData.PolygonCount());
    long long lTriangles = 0;
    for (int lSize : pData.mPolygonSizes) lTriangles += std::max(lSize - 2, 0);
    pState.SetItemsProcessed(static_cast<int64_t>(pState.iterations()) * static_cast<int64_t>(pData.PolygonCount()));
    pState.counters["polygons"] = lPolygons;
    pState.counters["triangles"] = static_cast<double>(lTriangles);
    pState.counters["time/polygon"] = benchmark::Counter(lPolygons * static_cast<double>(pState.iterations()),
                                                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

TimedFaults::TimedFaults(benchmark::State& pState) : mState(pState), mStart(MinorFaults()) {}

TimedFaults::~TimedFaults()
{
    const double lFaults = static_cast<double>(mCounted + MinorFaults() - mStart);
    mState.counters["faults/call"] =
        lFaults / static_cast<double>(std::max<benchmark::IterationCount>(mState.iterations(), 1));
}

void TimedFaults::Pause()
{
    mState.PauseTiming();
    mCounted += MinorFaults() - mStart;
}

void TimedFaults::Resume()
{
    mStart = MinorFaults();
    mState.ResumeTiming();
}

}  // namespace moxpeers
