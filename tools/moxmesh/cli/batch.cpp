#include "cli/batch.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <map>
#include <sstream>
#include <thread>

#include <nlohmann/json.hpp>

#include "cli/processreport.h"
#include "io/assimpreader.h"
#include "io/meshreader.h"
#include "io/toolerror.h"

namespace moxmeshtool {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using nlohmann::json;

constexpr const char* sgManifestName = ".moxmesh-batch.jsonl";

bool IsMeshFile(const fs::path& pPath)
{
    const std::string lExtension = ExtensionOf(pPath.string());
    return lExtension == ".obj" || (lExtension.size() > 1 && AssimpReadsExtension(lExtension));
}

// OUTDIR/<relative path, extension's dot as '_'>.<format>; a file outside the root keeps its name only.
std::string OutputFor(const std::string& pInput, const std::string& pRoot, const std::string& pOutDir,
                      const std::string& pFormat)
{
    fs::path lRelative = fs::path(pInput).lexically_relative(pRoot);
    if (lRelative.empty() || *lRelative.begin() == "..") lRelative = fs::path(pInput).filename();
    std::string lName = lRelative.filename().string();
    const std::string lExtension = lRelative.extension().string();
    if (!lExtension.empty()) lName = lRelative.stem().string() + "_" + lExtension.substr(1);
    return (fs::path(pOutDir) / lRelative.parent_path() / (lName + "." + pFormat)).string();
}

// The manifest's latest digest per output.
std::map<std::string, std::string> ReadManifest(const std::string& pOutDir)
{
    std::map<std::string, std::string> lDigests;
    std::ifstream lFile(fs::path(pOutDir) / sgManifestName);
    std::string lLine;
    while (std::getline(lFile, lLine)) {
        const json lEntry = json::parse(lLine, nullptr, false);
        if (lEntry.is_object() && lEntry.contains("output") && lEntry.contains("input_sha256"))
            lDigests[lEntry["output"].get<std::string>()] = lEntry["input_sha256"].get<std::string>();
    }
    return lDigests;
}

bool IsUpToDate(const BatchItem& pItem, const std::map<std::string, std::string>& pManifest)
{
    const auto lRecord = pManifest.find(pItem.mOutput);
    if (lRecord == pManifest.end() || !fs::exists(pItem.mOutput)) return false;
    try {
        return DigestFile(pItem.mInput).mSha256 == lRecord->second;
    } catch (const ToolError&) {
        return false;  // an unreadable input is processed again, and fails there
    }
}

// ---- One file in its own process ------------------------------------------------------------------------

// The arguments of `moxmesh process` for one item.
std::vector<std::string> ProcessArguments(const BatchOptions& pOptions, const BatchItem& pItem)
{
    std::vector<std::string> lArguments = {"moxmesh", "process", pItem.mInput, "-o", pItem.mOutput, "--normals"};
    lArguments.emplace_back(pOptions.mNormals == ENormalsMode::eKeep           ? "keep"
                            : pOptions.mNormals == ENormalsMode::eControlPoint ? "control-point"
                                                                               : "polygon-vertex");
    if (pOptions.mSmoothAngle >= 0.0) {
        std::ostringstream lAngle;
        lAngle << std::setprecision(17) << pOptions.mSmoothAngle;
        lArguments.insert(lArguments.end(), {"--smooth-angle", lAngle.str()});
    }
    if (pOptions.mTangents) lArguments.emplace_back("--tangents");
    if (pOptions.mSplit) lArguments.emplace_back("--split");
    if (pOptions.mClean) lArguments.emplace_back("--clean");
    lArguments.insert(lArguments.end(), {"--report-json", "--quiet"});
    return lArguments;
}

// An unlinked temporary file that a child writes and the parent reads afterwards.
int TemporaryFile()
{
    char lName[] = "/tmp/moxmesh-batch-XXXXXX";
    const int lFile = mkstemp(lName);
    if (lFile < 0) throw ToolError("/tmp", std::string("cannot make a temporary file: ") + std::strerror(errno));
    unlink(lName);
    return lFile;
}

std::string ReadAll(int pFile)
{
    std::string lText;
    char lBuffer[65536];
    lseek(pFile, 0, SEEK_SET);
    for (ssize_t lRead = 0; (lRead = read(pFile, lBuffer, sizeof lBuffer)) > 0;)
        lText.append(lBuffer, static_cast<size_t>(lRead));
    return lText;
}

struct Child {
    size_t mItem = 0;
    pid_t mPid = -1;
    int mOut = -1;
    int mErr = -1;
    Clock::time_point mStart;
    bool mTimedOut = false;  // asked to stop (SIGTERM: moxmesh removes its staged files)
    bool mKilled = false;    // still running a moment later: SIGKILL
};

// How long a process asked to stop may take before it is killed.
constexpr double sgStopGraceSeconds = 2.0;

Child Spawn(const std::string& pProgram, const std::vector<std::string>& pArguments, size_t pItem)
{
    Child lChild;
    lChild.mItem = pItem;
    lChild.mOut = TemporaryFile();
    lChild.mErr = TemporaryFile();
    std::vector<char*> lArgv;
    lArgv.reserve(pArguments.size());
    for (const std::string& lArgument : pArguments) lArgv.push_back(const_cast<char*>(lArgument.c_str()));
    lArgv.push_back(nullptr);
    posix_spawn_file_actions_t lActions;
    posix_spawn_file_actions_init(&lActions);
    posix_spawn_file_actions_adddup2(&lActions, lChild.mOut, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&lActions, lChild.mErr, STDERR_FILENO);
    const int lError = posix_spawn(&lChild.mPid, pProgram.c_str(), &lActions, nullptr, lArgv.data(), environ);
    posix_spawn_file_actions_destroy(&lActions);
    if (lError != 0) lChild.mPid = -1;
    lChild.mStart = Clock::now();
    return lChild;
}

// The last line moxmesh wrote to stderr, without its "moxmesh: error: " prefix.
std::string LastError(const std::string& pStderr)
{
    std::istringstream lLines(pStderr);
    std::string lLine;
    std::string lLast;
    while (std::getline(lLines, lLine))
        if (!lLine.empty()) lLast = lLine;
    const std::string lPrefix = "moxmesh: error: ";
    return lLast.compare(0, lPrefix.size(), lPrefix) == 0 ? lLast.substr(lPrefix.size()) : lLast;
}

// The file's JSON line from its process's exit status and output.
json FinishedLine(const BatchItem& pItem, const Child& pChild, int pStatus, double pTimeoutSeconds)
{
    json lLine = {{"input", pItem.mInput}, {"output", pItem.mOutput}, {"status", "failed"}};
    const std::string lOut = ReadAll(pChild.mOut);
    const std::string lErr = ReadAll(pChild.mErr);
    if (pChild.mTimedOut) {
        std::ostringstream lText;
        lText << "timed out after " << pTimeoutSeconds << " s";
        lLine["error"] = lText.str();
    } else if (WIFSIGNALED(pStatus)) {
        lLine["error"] = std::string("killed by signal ") + std::to_string(WTERMSIG(pStatus)) + " (" +
                         strsignal(WTERMSIG(pStatus)) + ")";
    } else if (WEXITSTATUS(pStatus) != 0) {
        lLine["error"] = LastError(lErr);
    } else {
        json lReport = json::parse(lOut, nullptr, false);
        if (lReport.is_object()) {
            lLine["status"] = "ok";
            lLine["input_sha256"] = lReport["input"]["sha256"];
            lLine["report"] = std::move(lReport);
        } else {
            lLine["error"] = "moxmesh process printed no report";
        }
    }
    lLine["seconds"] = std::chrono::duration<double>(Clock::now() - pChild.mStart).count();
    return lLine;
}

// ---- The run -------------------------------------------------------------------------------------------

class BatchRun {
public:
    BatchRun(const BatchOptions& pOptions, std::ostream& pOut) : mOptions(pOptions), mOut(pOut)
    {
        if (!pOptions.mReportFile.empty()) {
            mReport.open(pOptions.mReportFile);
            if (!mReport) throw ToolError(pOptions.mReportFile, "cannot be written");
        }
    }

    void Emit(const json& pLine)
    {
        const std::string lText = pLine.dump(-1, ' ', false, json::error_handler_t::replace);
        mOut << lText << std::endl;
        if (mReport.is_open()) mReport << lText << std::endl;
        const std::string lStatus = pLine.contains("status") ? pLine["status"].get<std::string>() : "";
        ++mCounts[lStatus];
        if (lStatus == "ok") RecordBatchOutput(mOptions.mOutDir, pLine["output"], pLine["input_sha256"]);
    }

    int Failed() { return mCounts["failed"]; }

    json Summary(size_t pFiles, double pSeconds)
    {
        return {{"summary",
                 {{"files", pFiles},
                  {"ok", mCounts["ok"]},
                  {"failed", mCounts["failed"]},
                  {"skipped", mCounts["skipped"]},
                  {"seconds", pSeconds}}}};
    }

private:
    const BatchOptions& mOptions;
    std::ostream& mOut;
    std::ofstream mReport;
    std::map<std::string, int> mCounts;
};

std::string SelfExecutable()
{
    std::error_code lError;
    const fs::path lSelf = fs::read_symlink("/proc/self/exe", lError);
    if (lError) throw ToolError("/proc/self/exe", "cannot find the moxmesh program: " + lError.message());
    return lSelf.string();
}

// Waits for any child to end; one past the time limit is asked to stop, then killed. Returns its index
// in pRunning.
size_t WaitForOne(std::vector<Child>& pRunning, double pTimeoutSeconds, int& pStatus)
{
    for (;;) {
        for (size_t i = 0; i < pRunning.size(); ++i) {
            Child& lChild = pRunning[i];
            if (waitpid(lChild.mPid, &pStatus, WNOHANG) == lChild.mPid) return i;
            const double lSeconds = std::chrono::duration<double>(Clock::now() - lChild.mStart).count();
            if (!lChild.mTimedOut && lSeconds > pTimeoutSeconds) {
                lChild.mTimedOut = true;
                kill(lChild.mPid, SIGTERM);
            } else if (lChild.mTimedOut && !lChild.mKilled && lSeconds > pTimeoutSeconds + sgStopGraceSeconds) {
                lChild.mKilled = true;
                kill(lChild.mPid, SIGKILL);
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

std::vector<BatchItem> PlanFromOptions(const BatchOptions& pOptions)
{
    if (!pOptions.mDirectory.empty())
        return PlanBatch(ListMeshFiles(pOptions.mDirectory), pOptions.mDirectory, pOptions.mOutDir, pOptions.mFormat,
                         pOptions.mResume);
    const std::vector<std::string> lInputs = ReadPathList(pOptions.mListFile);
    return PlanBatch(lInputs, CommonDirectory(lInputs), pOptions.mOutDir, pOptions.mFormat, pOptions.mResume);
}

}  // namespace

std::vector<std::string> ListMeshFiles(const std::string& pDirectory)
{
    std::error_code lError;
    std::vector<std::string> lFiles;
    for (fs::recursive_directory_iterator lEntry(pDirectory, lError), lEnd; !lError && lEntry != lEnd;
         lEntry.increment(lError))
        if (lEntry->is_regular_file() && IsMeshFile(lEntry->path())) lFiles.push_back(lEntry->path().string());
    if (lError) throw ToolError(pDirectory, "cannot be listed: " + lError.message());
    std::sort(lFiles.begin(), lFiles.end());
    return lFiles;
}

std::vector<std::string> ReadPathList(const std::string& pListFile)
{
    std::ifstream lFile(pListFile);
    if (!lFile) throw ToolError(pListFile, "cannot be read");
    std::vector<std::string> lPaths;
    for (std::string lLine; std::getline(lFile, lLine);)
        if (!lLine.empty()) lPaths.push_back(lLine);
    return lPaths;
}

std::string CommonDirectory(const std::vector<std::string>& pPaths)
{
    if (pPaths.empty()) return ".";
    fs::path lCommon = fs::path(pPaths.front()).lexically_normal().parent_path();
    for (const std::string& lPath : pPaths) {
        const fs::path lDirectory = fs::path(lPath).lexically_normal().parent_path();
        fs::path lShared;
        for (auto lA = lCommon.begin(), lB = lDirectory.begin();
             lA != lCommon.end() && lB != lDirectory.end() && *lA == *lB; ++lA, ++lB)
            lShared /= *lA;
        lCommon = lShared;
    }
    return lCommon.empty() ? "." : lCommon.string();
}

std::vector<BatchItem> PlanBatch(const std::vector<std::string>& pInputs, const std::string& pRoot,
                                 const std::string& pOutDir, const std::string& pFormat, bool pResume)
{
    const std::map<std::string, std::string> lManifest =
        pResume ? ReadManifest(pOutDir) : std::map<std::string, std::string>();
    std::vector<BatchItem> lItems;
    for (const std::string& lInput : pInputs) {
        BatchItem lItem{lInput, OutputFor(lInput, pRoot, pOutDir, pFormat), false};
        lItem.mUpToDate = pResume && IsUpToDate(lItem, lManifest);
        lItems.push_back(std::move(lItem));
    }
    return lItems;
}

void RecordBatchOutput(const std::string& pOutDir, const std::string& pOutput, const std::string& pInputSha256)
{
    std::ofstream lManifest(fs::path(pOutDir) / sgManifestName, std::ios::app);
    lManifest << json{{"output", pOutput}, {"input_sha256", pInputSha256}}.dump() << std::endl;
    if (!lManifest) throw ToolError((fs::path(pOutDir) / sgManifestName).string(), "cannot be written");
}

int RunBatch(const BatchOptions& pOptions, std::ostream& pOut)
{
    const auto lStart = Clock::now();
    const std::vector<BatchItem> lItems = PlanFromOptions(pOptions);
    std::error_code lError;
    fs::create_directories(pOptions.mOutDir, lError);
    if (lError) throw ToolError(pOptions.mOutDir, "cannot be made: " + lError.message());
    const std::string lProgram = pOptions.mProgram.empty() ? SelfExecutable() : pOptions.mProgram;
    BatchRun lRun(pOptions, pOut);
    std::vector<Child> lRunning;
    auto lFinishOne = [&] {
        int lStatus = 0;
        const size_t lDone = WaitForOne(lRunning, pOptions.mTimeoutSeconds, lStatus);
        const Child lChild = lRunning[lDone];
        lRunning.erase(lRunning.begin() + static_cast<std::ptrdiff_t>(lDone));
        lRun.Emit(FinishedLine(lItems[lChild.mItem], lChild, lStatus, pOptions.mTimeoutSeconds));
        close(lChild.mOut);
        close(lChild.mErr);
    };
    for (size_t i = 0; i < lItems.size(); ++i) {
        const BatchItem& lItem = lItems[i];
        if (lItem.mUpToDate) {
            lRun.Emit({{"input", lItem.mInput}, {"output", lItem.mOutput}, {"status", "skipped"}});
            continue;
        }
        fs::create_directories(fs::path(lItem.mOutput).parent_path(), lError);
        while (static_cast<int>(lRunning.size()) >= std::max(1, pOptions.mJobs)) lFinishOne();
        Child lChild = Spawn(lProgram, ProcessArguments(pOptions, lItem), i);
        if (lChild.mPid < 0) {
            lRun.Emit({{"input", lItem.mInput},
                       {"output", lItem.mOutput},
                       {"status", "failed"},
                       {"error", "cannot start " + lProgram}});
            close(lChild.mOut);
            close(lChild.mErr);
            continue;
        }
        lRunning.push_back(lChild);
    }
    while (!lRunning.empty()) lFinishOne();
    lRun.Emit(lRun.Summary(lItems.size(), std::chrono::duration<double>(Clock::now() - lStart).count()));
    return lRun.Failed();
}

}  // namespace moxmeshtool
