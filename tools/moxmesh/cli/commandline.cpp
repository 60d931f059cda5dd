#include "cli/commandline.h"

#include <new>
#include <string>

#include <CLI/CLI.hpp>

#include "cli/batch.h"
#include "cli/commands.h"
#include "io/toolerror.h"

namespace moxmeshtool {
namespace {

constexpr const char* sgFooter =
    "Exit status: 0 on success, 1 when a file cannot be read, processed or written, 2 for wrong arguments.";

void AddCommonOptions(CLI::App& pCommand, CommonOptions& pOptions)
{
    pCommand.add_flag("--progress", pOptions.mProgress,
                      "Report each step on stderr as it goes (automatic for more than 100,000 polygons)");
    pCommand.add_flag("-q,--quiet", pOptions.mQuiet, "No progress and no notes on stderr (errors still)");
}

CLI::App* AddDemo(CLI::App& pApp, DemoOptions& pOptions)
{
    CLI::App* lDemo = pApp.add_subcommand(
        "demo",
        "Build a UV-mapped, skinned model with hard and soft edges and run the import pipeline on it: clean-up, "
        "edges, smoothing by angle, normals, tangents, split, merge, component maps");
    lDemo->add_option("--segments", pOptions.mModel.mSegments, "Quads around the model (at least 3)")
        ->capture_default_str()
        ->check(CLI::Range(3, 1000000));
    lDemo->add_option("--rings", pOptions.mModel.mRings, "Quads from bottom to top (at least 1)")
        ->capture_default_str()
        ->check(CLI::Range(1, 1000000));
    lDemo
        ->add_option("--smooth-angle", pOptions.mSmoothAngle,
                     "Edges whose polygons' normals are at most DEG degrees apart are soft")
        ->capture_default_str()
        ->type_name("DEG")
        ->check(CLI::Range(0.0, 180.0));
    AddCommonOptions(*lDemo, pOptions);
    lDemo->footer(sgFooter);
    return lDemo;
}

CLI::App* AddInfo(CLI::App& pApp, InfoOptions& pOptions)
{
    CLI::App* lInfo = pApp.add_subcommand(
        "info",
        "Describe a mesh file: control points, polygons by size, polygon vertices, edges, boundary and "
        "non-manifold edges, bad polygons, UV sets, materials, normals and their winding");
    lInfo->add_option("FILE", pOptions.mInput, "The mesh file (OBJ, or any format Assimp reads)")->required();
    AddCommonOptions(*lInfo, pOptions);
    lInfo->footer(sgFooter);
    return lInfo;
}

// The step options of process and batch. --normals is read as text (pNormals) and turned into
// pOptions.mNormals after parsing (NormalsModeOf).
void AddStepOptions(CLI::App& pCommand, ProcessOptions& pOptions, std::string& pNormals)
{
    pCommand
        .add_option("--normals", pNormals,
                    "keep: the file's normals; control-point or polygon-vertex: generate them, one per control "
                    "point or per polygon vertex")
        ->capture_default_str()
        ->check(CLI::IsMember({"keep", "control-point", "polygon-vertex"}))
        ->type_name("MODE");
    pCommand
        .add_option("--smooth-angle", pOptions.mSmoothAngle,
                    "Mark each edge soft when its polygons' normals are at most DEG degrees apart, hard otherwise "
                    "(boundary and non-manifold edges hard), and generate normals by polygon vertex from that")
        ->type_name("DEG")
        ->check(CLI::Range(0.0, 180.0));
    pCommand.add_flag("--tangents", pOptions.mTangents, "Generate tangents and binormals for every UV set");
    pCommand.add_flag("--split", pOptions.mSplit,
                      "Give every polygon vertex its own control point (one normal and UV per point)");
    pCommand.add_flag("--clean", pOptions.mClean, "Remove bad polygons first (fewer than 3 points, a point repeated)");
}

CLI::App* AddProcess(CLI::App& pApp, ProcessOptions& pOptions, std::string& pNormals)
{
    CLI::App* lProcess = pApp.add_subcommand(
        "process",
        "Read a mesh file, run the chosen steps (clean-up, edges, smoothing, normals, tangents, split) "
        "and write the result as OBJ or glTF 2.0");
    lProcess->add_option("IN", pOptions.mInput, "The mesh file to read (OBJ, or any format Assimp reads)")->required();
    lProcess->add_option("-o,--output", pOptions.mOutput, "The file to write: .obj, .gltf or .glb")
        ->required()
        ->type_name("OUT");
    AddStepOptions(*lProcess, pOptions, pNormals);
    lProcess->add_flag("--report-json", pOptions.mReportJson,
                       "Print the report as one JSON object: files with sizes and SHA-256, counts, steps with "
                       "times, results and library reports");
    AddCommonOptions(*lProcess, pOptions);
    lProcess->footer(sgFooter);
    return lProcess;
}

CLI::App* AddBatch(CLI::App& pApp, BatchOptions& pOptions, std::string& pNormals)
{
    CLI::App* lBatch = pApp.add_subcommand(
        "batch",
        "Run process over every mesh file of a directory or a list, each file in its own process, N at a time; "
        "one JSON line per file, then a summary line");
    auto* lDirectory = lBatch->add_option("DIR", pOptions.mDirectory, "Process every mesh file under DIR");
    lBatch->add_option("--from-list", pOptions.mListFile, "Process the files listed in FILE, one path per line")
        ->type_name("FILE")
        ->excludes(lDirectory);
    lBatch->add_option("-o,--output", pOptions.mOutDir, "The directory of the outputs")
        ->required()
        ->type_name("OUTDIR");
    lBatch->add_option("--format", pOptions.mFormat, "The format written")
        ->capture_default_str()
        ->check(CLI::IsMember({"obj", "gltf", "glb"}));
    AddStepOptions(*lBatch, pOptions, pNormals);
    lBatch->add_option("-j,--jobs", pOptions.mJobs, "Files processed at a time")
        ->capture_default_str()
        ->check(CLI::Range(1, 1024));
    lBatch->add_option("--timeout", pOptions.mTimeoutSeconds, "Per-file time limit in seconds")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    lBatch->add_flag("--resume", pOptions.mResume,
                     "Skip files whose output exists and whose recorded input digest still matches");
    lBatch->add_option("--report-json", pOptions.mReportFile, "Also write the JSON lines to FILE")->type_name("FILE");
    lBatch->footer(
        "Exit status: 0 when every file succeeded, 1 when any failed or the inputs cannot be listed, 2 for wrong "
        "arguments.");
    return lBatch;
}

ENormalsMode NormalsModeOf(const std::string& pText)
{
    if (pText == "control-point") return ENormalsMode::eControlPoint;
    if (pText == "polygon-vertex") return ENormalsMode::ePolygonVertex;
    return ENormalsMode::eKeep;
}

// Runs pCommand, turning a failure into the one-line error and its exit status.
template <class COMMAND>
int Guarded(COMMAND pCommand, const std::string& pContext, std::ostream& pErr)
{
    try {
        pCommand();
        return sgExitSuccess;
    } catch (const ToolError& lError) {
        pErr << "moxmesh: error: " << lError.what() << std::endl;
    } catch (const std::bad_alloc&) {
        pErr << "moxmesh: error: " << pContext << ": out of memory" << std::endl;
    } catch (const std::exception& lError) {
        pErr << "moxmesh: error: " << pContext << ": " << ToolError::OneLine(lError.what()) << std::endl;
    }
    return sgExitFailure;
}

// Runs the batch: exit status 1 when a file failed (its line says why) or the batch could not start.
int RunBatchCommand(const BatchOptions& pOptions, std::ostream& pOut, std::ostream& pErr)
{
    if (pOptions.mDirectory.empty() == pOptions.mListFile.empty()) {
        pErr << "batch: give a directory or --from-list FILE\nRun with --help for more information." << std::endl;
        return sgExitUsage;
    }
    int lFailed = 0;
    const int lStatus = Guarded([&] { lFailed = RunBatch(pOptions, pOut); }, pOptions.mOutDir, pErr);
    return lStatus != sgExitSuccess || lFailed > 0 ? sgExitFailure : sgExitSuccess;
}

}  // namespace

int RunCommandLine(int pArgumentCount, const char* const* pArguments, std::ostream& pOut, std::ostream& pErr)
{
    CLI::App lApp(
        "moxmesh: polygon meshes through moxsdk: read OBJ and what Assimp reads, process, write OBJ and "
        "glTF 2.0",
        "moxmesh");
    lApp.require_subcommand(1);
    lApp.footer(sgFooter);
    DemoOptions lDemoOptions;
    InfoOptions lInfoOptions;
    ProcessOptions lProcessOptions;
    CLI::App* lDemo = AddDemo(lApp, lDemoOptions);
    CLI::App* lInfo = AddInfo(lApp, lInfoOptions);
    std::string lNormals = "keep";
    CLI::App* lProcess = AddProcess(lApp, lProcessOptions, lNormals);
    BatchOptions lBatchOptions;
    CLI::App* lBatch = AddBatch(lApp, lBatchOptions, lNormals);
    try {
        lApp.parse(pArgumentCount, pArguments);
    } catch (const CLI::ParseError& lError) {
        const int lStatus = lApp.exit(lError, pOut, pErr);
        return lStatus == 0 ? sgExitSuccess : sgExitUsage;
    }
    if (lDemo->parsed()) return Guarded([&] { RunDemo(lDemoOptions, pOut, pErr); }, "demo", pErr);
    if (lInfo->parsed()) return Guarded([&] { RunInfo(lInfoOptions, pOut, pErr); }, lInfoOptions.mInput, pErr);
    lProcessOptions.mNormals = NormalsModeOf(lNormals);
    lBatchOptions.mNormals = lProcessOptions.mNormals;
    const std::string lConflict = lProcess->parsed() ? FindOptionConflict(lProcessOptions)
                                  : lBatch->parsed() ? FindOptionConflict(lBatchOptions)
                                                     : std::string();
    if (!lConflict.empty()) {
        pErr << lConflict << "\nRun with --help for more information." << std::endl;
        return sgExitUsage;
    }
    if (lProcess->parsed())
        return Guarded([&] { RunProcess(lProcessOptions, pOut, pErr); }, lProcessOptions.mInput, pErr);
    if (lBatch->parsed()) return RunBatchCommand(lBatchOptions, pOut, pErr);
    return sgExitUsage;
}

}  // namespace moxmeshtool
