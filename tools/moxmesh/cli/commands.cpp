#include "cli/commands.h"

#include <cstdio>
#include <functional>
#include <new>
#include <utility>
#include <vector>

#include "moxsdk/core/moxmemory.h"

#include "cli/processreport.h"
#include "cli/reportprinter.h"
#include "io/meshreader.h"
#include "io/meshwriter.h"
#include "io/toolerror.h"
#include "pipeline/meshinfo.h"
#include "pipeline/pipelinesteps.h"

namespace moxmeshtool {
namespace {

struct Step {
    std::string mName;
    std::function<std::string()> mRun;
};

void RunSteps(const std::vector<Step>& pSteps, StepRunner& pRunner)
{
    for (const Step& lStep : pSteps) pRunner.Run(lStep.mName, lStep.mRun);
}

using MeshSlot = std::unique_ptr<ManagedMesh>;

// The read step: reads pPath into pMesh and, unless quiet, prints the reader's notes and turns progress on
// for a large file.
Step ReadStep(const std::string& pPath, MeshSlot& pMesh, const CommonOptions& pOptions, StepRunner& pRunner,
              std::ostream& pErr)
{
    return Step{"read", [&pPath, &pMesh, &pOptions, &pRunner, &pErr] {
                    pMesh = ReadMesh(pPath);
                    if (!pOptions.mQuiet) PrintNotes(pPath, pMesh->mNotes, pErr);
                    if (!pOptions.mQuiet && pMesh->Mesh().GetPolygonCount() > sgProgressPolygons)
                        pRunner.SetProgress(true);
                    return pMesh->mFormat + ": " + DescribeTopology(pMesh->Mesh());
                }};
}

bool ProgressFromStart(const CommonOptions& pOptions)
{
    return pOptions.mProgress && !pOptions.mQuiet;
}

// The normals step of `process`: by control point or polygon vertex; with --normals keep, none, unless
// the tangents need normals that the file lacks.
void AddNormalSteps(const ProcessOptions& pOptions, MeshSlot& pMesh, std::ostream& pErr, std::vector<Step>& pSteps)
{
    if (pOptions.mNormals != ENormalsMode::eKeep || pOptions.mSmoothAngle >= 0.0) {
        const bool lByControlPoint = pOptions.mNormals == ENormalsMode::eControlPoint;
        pSteps.push_back(
            {"GenerateNormals", [&pMesh, lByControlPoint] { return GenerateNormals(pMesh->Mesh(), lByControlPoint); }});
    } else if (pOptions.mTangents) {
        pSteps.push_back({"normals for the tangents", [&pMesh, &pOptions, &pErr] {
                              const moxsdk::MoxLayer* lLayer = pMesh->Mesh().GetLayer(0);
                              if (lLayer && lLayer->GetNormals()) return std::string("kept the file's normals");
                              if (!pOptions.mQuiet)
                                  pErr << "moxmesh: note: " << pOptions.mInput
                                       << ": no normals to keep: generated per polygon vertex for the tangents\n";
                              return GenerateNormals(pMesh->Mesh(), false);
                          }});
    }
}

// "glTF binary: 1368 polygons as 1368 triangles, 3199 vertices, spider.glb".
std::string DescribeWrite(const WriteSummary& pWritten)
{
    const SceneSummary& lScene = pWritten.mScene;
    std::string lText =
        std::string(FormatName(pWritten.mFormat)) + ": " + CountOf(lScene.mPolygons, "polygon", "polygons");
    if (pWritten.mFormat != EOutputFormat::eObj) lText += " as " + CountOf(lScene.mTriangles, "triangle", "triangles");
    lText += ", " + CountOf(static_cast<long long>(lScene.mVertices), "vertex", "vertices");
    if (lScene.mReplacedNormals > 0)
        lText += ", " +
                 CountOf(static_cast<long long>(lScene.mReplacedNormals), "zero or non-finite normal",
                         "zero or non-finite normals") +
                 " replaced";
    if (lScene.mReplacedTangents > 0)
        lText += ", " +
                 CountOf(static_cast<long long>(lScene.mReplacedTangents), "zero or non-finite tangent",
                         "zero or non-finite tangents") +
                 " replaced";
    if (lScene.mSkippedPolygons > 0)
        lText +=
            ", " + CountOf(lScene.mSkippedPolygons, "polygon", "polygons") + " left out (fewer than 3 valid vertices)";
    for (const std::string& lFile : pWritten.mFiles) lText += ", " + lFile;
    return lText;
}

std::string AngleStepName(double pDegrees)
{
    char lName[64];
    std::snprintf(lName, sizeof lName, "smoothing by angle <= %g deg", pDegrees);
    return lName;
}

// The output path is checked before anything is read, so that a wrong path fails at once. The counts are
// taken as the steps go: as read (edges once built) and as processed (just before writing).
ProcessReport RunProcessSteps(const ProcessOptions& pOptions, std::ostream& pErr)
{
    const std::string lConflict = FindOptionConflict(pOptions);
    if (!lConflict.empty()) throw ToolError(pOptions.mOutput, lConflict);
    CheckWritable(pOptions.mOutput);
    OutputFormatOf(pOptions.mOutput);

    ProcessReport lReport;
    lReport.mInputPath = pOptions.mInput;
    lReport.mOutputPath = pOptions.mOutput;
    MeshSlot lMesh;
    std::vector<Step> lSteps;
    StepRunner lRunner(0, pErr);  // the count is set once the steps are known
    lSteps.push_back(ReadStep(pOptions.mInput, lMesh, pOptions, lRunner, pErr));
    if (pOptions.mClean) lSteps.push_back({"RemoveBadPolygons", [&lMesh] { return RemoveBadPolygons(lMesh->Mesh()); }});
    lSteps.push_back({"BuildMeshEdgeArray", [&lMesh, &lReport] {
                          lReport.mInputFormat = lMesh->mFormat;
                          std::string lResult = BuildEdges(lMesh->Mesh());
                          lReport.mRead = CountMesh(lMesh->Mesh());
                          return lResult;
                      }});
    if (pOptions.mSmoothAngle >= 0.0)
        lSteps.push_back({AngleStepName(pOptions.mSmoothAngle),
                          [&lMesh, &pOptions] { return SmoothByAngle(lMesh->Mesh(), pOptions.mSmoothAngle); }});
    AddNormalSteps(pOptions, lMesh, pErr, lSteps);
    if (pOptions.mTangents)
        lSteps.push_back({"GenerateTangentsDataForAllUVSets", [&lMesh] { return GenerateTangents(lMesh->Mesh()); }});
    if (pOptions.mSplit) lSteps.push_back({"SplitPoints", [&lMesh] { return SplitPoints(lMesh->Mesh()); }});
    lSteps.push_back(Step{"write", [&pOptions, &lMesh, &lReport] {
                              lReport.mProcessed = CountMesh(lMesh->Mesh());
                              DropUnwrittenElements(lMesh->Mesh());
                              // The writer's memory is not the library's: what the library keeps for
                              // its next operation goes back first, so that it adds nothing to the peak.
                              moxsdk::MoxReleaseKeptMemory();
                              lReport.mWritten = WriteMesh(lMesh->Mesh(), pOptions.mOutput);
                              return DescribeWrite(lReport.mWritten);
                          }});

    lRunner.SetStepCount(static_cast<int>(lSteps.size()));
    lRunner.SetProgress(ProgressFromStart(pOptions));
    RunSteps(lSteps, lRunner);
    lReport.mSteps = lRunner.Records();
    return lReport;
}

}  // namespace

std::string FindOptionConflict(const ProcessOptions& pOptions)
{
    if (pOptions.mSmoothAngle >= 0.0 && pOptions.mNormals == ENormalsMode::eControlPoint)
        return "--smooth-angle makes normals per polygon vertex: it cannot go with --normals control-point";
    return {};
}

void RunDemo(const DemoOptions& pOptions, std::ostream& pOut, std::ostream& pErr)
{
    ManagedMesh lModel;
    moxsdk::MoxMesh& lMesh = lModel.Mesh();
    const double lAngle = pOptions.mSmoothAngle;
    const std::vector<Step> lSteps = {
        {"build model",
         [&] {
             BuildDemoModel(pOptions.mModel, lModel);
             return DescribeTopology(lMesh) + ", " + CountOf(CountUVSets(lMesh), "UV set", "UV sets") + ", " +
                    CountOf(CountSkinWeights(lMesh), "skin weight", "skin weights");
         }},
        // The model's deliberate bad polygon would upset the steps that follow: the clean-up comes first.
        {"RemoveBadPolygons", [&] { return RemoveBadPolygons(lMesh); }},
        {"BuildMeshEdgeArray", [&] { return BuildEdges(lMesh); }},
        {AngleStepName(lAngle), [&] { return SmoothByAngle(lMesh, lAngle); }},
        {"GenerateNormals", [&] { return GenerateNormals(lMesh, false); }},
        {"GenerateTangentsDataForAllUVSets", [&] { return GenerateTangents(lMesh); }},
        {"SplitPoints", [&] { return SplitPoints(lMesh); }},
        {"BuildMergeList + MergePoints", [&] { return MergePoints(lMesh); }},
        {"ComputeComponentMaps", [&] { return CountEdgeNeighbours(lMesh); }},
    };
    StepRunner lRunner(static_cast<int>(lSteps.size()), pErr);
    const long long lQuads = static_cast<long long>(pOptions.mModel.mSegments) * pOptions.mModel.mRings;
    lRunner.SetProgress(ProgressFromStart(pOptions) || (!pOptions.mQuiet && lQuads > sgProgressPolygons));
    RunSteps(lSteps, lRunner);
    PrintTitle("moxmesh demo: " + DescribeDemoModel(pOptions.mModel), pOut);
    PrintSteps(lRunner.Records(), pOut);
}

void RunInfo(const InfoOptions& pOptions, std::ostream& pOut, std::ostream& pErr)
{
    MeshSlot lMesh;
    StepRunner lRunner(1 + sgInfoSteps, pErr);
    lRunner.SetProgress(ProgressFromStart(pOptions));
    const Step lRead = ReadStep(pOptions.mInput, lMesh, pOptions, lRunner, pErr);
    lRunner.Run(lRead.mName, lRead.mRun);
    const MeshInfo lInfo = GatherInfo(lMesh->Mesh(), lRunner);
    PrintInfo(pOptions.mInput, lMesh->mFormat, lInfo, pOut);
}

ProcessReport RunProcessReport(const ProcessOptions& pOptions, std::ostream& pErr)
{
    ProcessReport lReport = RunProcessSteps(pOptions, pErr);
    AddDigests(lReport);
    return lReport;
}

std::string RunProcessJson(const ProcessOptions& pOptions, std::ostream& pErr)
{
    return ToJson(RunProcessReport(pOptions, pErr));
}

void RunProcess(const ProcessOptions& pOptions, std::ostream& pOut, std::ostream& pErr)
{
    if (pOptions.mReportJson) {
        pOut << RunProcessJson(pOptions, pErr) << std::endl;
        return;
    }
    const ProcessReport lReport = RunProcessSteps(pOptions, pErr);
    PrintTitle("moxmesh process: " + pOptions.mInput + " -> " + pOptions.mOutput, pOut);
    PrintSteps(lReport.mSteps, pOut);
}

}  // namespace moxmeshtool
