#pragma once
// moxmesh batch: `moxmesh process` over many files, each in its own process, N at a time.
//
// A file that crashes or hangs a reader fails alone: its process is killed at the per-file time limit and
// the batch goes on. Each file gives one JSON line (BatchLine's keys); a summary line ends the run.
//
// Outputs: OUTDIR/<path relative to the root, the extension's dot turned into '_'>.<format>, so that
// "a/box.obj" and "a/box.ply" never write the same file ("a/box_obj.obj", "a/box_ply.obj"). The root is
// the directory given, or the deepest directory common to the files of a list.
//
// Resuming: every file processed is recorded in OUTDIR/.moxmesh-batch.jsonl with its input's SHA-256;
// with resume, a file whose output exists and whose recorded digest is the input's current one is
// skipped. The Python package (moxsdk.batch) plans, skips and records through these same functions.

#include <ostream>
#include <string>
#include <vector>

#include "cli/commands.h"

namespace moxmeshtool {

struct BatchOptions : ProcessOptions {
    std::string mDirectory;  // every mesh file under it, or
    std::string mListFile;   // the files listed in it, one path per line
    std::string mOutDir;
    std::string mFormat = "obj";  // obj, gltf or glb
    int mJobs = 1;
    double mTimeoutSeconds = 600.0;
    bool mResume = false;
    std::string mReportFile;  // also write every line here
    std::string mProgram;     // the moxmesh that processes each file; empty: this very program
};

struct BatchItem {
    std::string mInput;
    std::string mOutput;
    bool mUpToDate = false;  // resume: the output exists and was made from this very input
};

// Every file under pDirectory (recursively) that moxmesh reads (.obj and what Assimp reads), sorted.
// Throws ToolError when the directory cannot be listed.
std::vector<std::string> ListMeshFiles(const std::string& pDirectory);
// The non-empty lines of pListFile. Throws ToolError when it cannot be read.
std::vector<std::string> ReadPathList(const std::string& pListFile);
// The deepest directory that holds all of pPaths ("." for relative paths without one in common).
std::string CommonDirectory(const std::vector<std::string>& pPaths);

// The output of each input (see above) and, with pResume, whether it is up to date.
std::vector<BatchItem> PlanBatch(const std::vector<std::string>& pInputs, const std::string& pRoot,
                                 const std::string& pOutDir, const std::string& pFormat, bool pResume);
// Records that pOutput was made from an input of digest pInputSha256.
void RecordBatchOutput(const std::string& pOutDir, const std::string& pOutput, const std::string& pInputSha256);

// Runs the batch: one JSON line per file on pOut (and in the report file), then the summary line
// {"summary": {"files", "ok", "failed", "skipped", "seconds"}}. Returns the number of files that failed.
// Throws ToolError when the inputs cannot be listed or the output directory cannot be made.
int RunBatch(const BatchOptions& pOptions, std::ostream& pOut);

}  // namespace moxmeshtool
