#pragma once
// StagedOutput: writing files so that a failure never leaves a partial output file behind.
//
// Each destination is written to a hidden temporary file in the destination's own directory
// (".<name>.moxmesh-XXXXXX"). Commit renames them into place (a rename within one directory replaces
// the destination in one step); until then the destinations are untouched. Whatever was not committed
// is removed by Discard and by the destructor, so a failed write leaves no file at all; and, once
// RemoveOnInterrupt has been called, by an interrupt (SIGINT, SIGTERM, SIGHUP) as well.

#include <cstdio>
#include <string>
#include <vector>

namespace moxmeshtool {

class StagedOutput {
public:
    StagedOutput() = default;
    ~StagedOutput() { Discard(); }
    StagedOutput(const StagedOutput&) = delete;
    StagedOutput& operator=(const StagedOutput&) = delete;

    // The temporary file for pDestination, created (or emptied, when pDestination was opened before)
    // and opened for binary writing; null after recording the failure.
    std::FILE* Open(const std::string& pDestination);
    // Closes a file that Open returned, recording a failed write or close.
    void Close(std::FILE* pFile);
    // Records a failure of the file opened for pDestination (e.g. a short write seen by the caller).
    void Fail(const std::string& pDestination, const std::string& pProblem);

    // The temporary file standing for pDestination; empty when pDestination was never opened.
    std::string StagedPath(const std::string& pDestination) const;
    // The destinations opened, in order.
    std::vector<std::string> Destinations() const;
    bool Failed() const { return !mFailure.empty(); }
    // The first failure: the destination concerned and the problem.
    const std::string& FailedFile() const { return mFailedFile; }
    const std::string& Failure() const { return mFailure; }

    // Closes what is still open and moves every staged file into place. Throws ToolError (naming the
    // destination) when a failure was recorded or a rename fails; every temporary file is removed then.
    void Commit();
    // Closes and removes every temporary file not yet committed.
    void Discard();

    // Installs handlers for SIGINT, SIGTERM and SIGHUP that remove the temporary files of every
    // StagedOutput in the process, then end the process by the signal as it would have ended anyway.
    static void RemoveOnInterrupt();

private:
    struct Staged {
        std::string mDestination;
        std::string mTemporary;
        std::FILE* mFile;
    };
    Staged* Find(const std::string& pDestination);
    const Staged* Find(const std::string& pDestination) const;

    std::vector<Staged> mFiles;
    std::string mFailedFile;
    std::string mFailure;
};

}  // namespace moxmeshtool
