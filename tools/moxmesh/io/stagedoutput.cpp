#include "io/stagedoutput.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

#include "io/toolerror.h"

namespace moxmeshtool {
namespace {

std::string DirectoryOf(const std::string& pPath)
{
    const size_t lSlash = pPath.find_last_of('/');
    if (lSlash == std::string::npos) return ".";
    return lSlash == 0 ? "/" : pPath.substr(0, lSlash);
}

std::string NameOf(const std::string& pPath)
{
    const size_t lSlash = pPath.find_last_of('/');
    return lSlash == std::string::npos ? pPath : pPath.substr(lSlash + 1);
}

// The permissions a file created by open() would get: mkstemp makes files readable by their owner only.
mode_t DefaultFileMode()
{
    const mode_t lMask = umask(022);
    umask(lMask);
    return static_cast<mode_t>(0666) & ~lMask;
}

// The temporary files that exist right now, for the interrupt handler, which may only call
// async-signal-safe functions: a fixed table that the handler reads without allocating. A path longer
// than a slot is not listed (its file is then left behind by an interrupt, and by nothing else).
constexpr int sgSlotCount = 64;
constexpr size_t sgSlotLength = 4096;
struct Slot {
    volatile sig_atomic_t mUsed;
    char mPath[sgSlotLength];
};
Slot sgSlots[sgSlotCount];

void Remember(const std::string& pTemporary)
{
    if (pTemporary.size() >= sgSlotLength) return;
    for (Slot& lSlot : sgSlots)
        if (!lSlot.mUsed) {
            std::memcpy(lSlot.mPath, pTemporary.c_str(), pTemporary.size() + 1);
            lSlot.mUsed = 1;
            return;
        }
}

void Forget(const std::string& pTemporary)
{
    for (Slot& lSlot : sgSlots)
        if (lSlot.mUsed && pTemporary == lSlot.mPath) lSlot.mUsed = 0;
}

extern "C" void RemoveStagedAndRaise(int pSignal)
{
    for (Slot& lSlot : sgSlots)
        if (lSlot.mUsed) unlink(lSlot.mPath);
    std::signal(pSignal, SIG_DFL);
    std::raise(pSignal);
}

}  // namespace

void StagedOutput::RemoveOnInterrupt()
{
    struct sigaction lAction;
    std::memset(&lAction, 0, sizeof lAction);
    lAction.sa_handler = RemoveStagedAndRaise;
    sigemptyset(&lAction.sa_mask);
    for (int lSignal : {SIGINT, SIGTERM, SIGHUP}) sigaction(lSignal, &lAction, nullptr);
}

StagedOutput::Staged* StagedOutput::Find(const std::string& pDestination)
{
    for (Staged& lFile : mFiles)
        if (lFile.mDestination == pDestination) return &lFile;
    return nullptr;
}

const StagedOutput::Staged* StagedOutput::Find(const std::string& pDestination) const
{
    return const_cast<StagedOutput*>(this)->Find(pDestination);
}

std::FILE* StagedOutput::Open(const std::string& pDestination)
{
    if (Staged* lKnown = Find(pDestination)) {
        if (lKnown->mFile) Close(lKnown->mFile);
        lKnown->mFile = std::fopen(lKnown->mTemporary.c_str(), "wb");
        if (!lKnown->mFile) Fail(pDestination, std::strerror(errno));
        return lKnown->mFile;
    }
    std::string lTemplate = DirectoryOf(pDestination) + "/." + NameOf(pDestination) + ".moxmesh-XXXXXX";
    const int lDescriptor = mkstemp(lTemplate.data());
    if (lDescriptor < 0) {
        Fail(pDestination, std::strerror(errno));
        return nullptr;
    }
    fchmod(lDescriptor, DefaultFileMode());
    std::FILE* lFile = fdopen(lDescriptor, "wb");
    if (!lFile) {
        Fail(pDestination, std::strerror(errno));
        close(lDescriptor);
        unlink(lTemplate.c_str());
        return nullptr;
    }
    mFiles.push_back(Staged{pDestination, lTemplate, lFile});
    Remember(lTemplate);
    return lFile;
}

void StagedOutput::Close(std::FILE* pFile)
{
    for (Staged& lFile : mFiles) {
        if (lFile.mFile != pFile || !pFile) continue;
        const bool lWriteError = std::ferror(pFile) != 0;
        const int lCloseError = std::fclose(pFile) != 0 ? errno : 0;
        lFile.mFile = nullptr;
        if (lWriteError) Fail(lFile.mDestination, "write error");
        if (lCloseError) Fail(lFile.mDestination, std::strerror(lCloseError));
    }
}

void StagedOutput::Fail(const std::string& pDestination, const std::string& pProblem)
{
    if (!mFailure.empty()) return;
    mFailedFile = pDestination;
    mFailure = pProblem.empty() ? "write error" : pProblem;
}

std::string StagedOutput::StagedPath(const std::string& pDestination) const
{
    const Staged* lFile = Find(pDestination);
    return lFile ? lFile->mTemporary : std::string();
}

std::vector<std::string> StagedOutput::Destinations() const
{
    std::vector<std::string> lDestinations;
    for (const Staged& lFile : mFiles) lDestinations.push_back(lFile.mDestination);
    return lDestinations;
}

void StagedOutput::Commit()
{
    for (Staged& lFile : mFiles) Close(lFile.mFile);
    if (Failed()) {
        Discard();
        throw ToolError(mFailedFile, "cannot write: " + mFailure);
    }
    while (!mFiles.empty()) {
        const Staged lFile = mFiles.front();
        if (std::rename(lFile.mTemporary.c_str(), lFile.mDestination.c_str()) != 0) {
            const std::string lProblem = std::strerror(errno);
            Discard();
            throw ToolError(lFile.mDestination, "cannot write: " + lProblem);
        }
        Forget(lFile.mTemporary);
        mFiles.erase(mFiles.begin());
    }
}

void StagedOutput::Discard()
{
    for (Staged& lFile : mFiles) {
        if (lFile.mFile) std::fclose(lFile.mFile);
        unlink(lFile.mTemporary.c_str());
        Forget(lFile.mTemporary);
    }
    mFiles.clear();
}

}  // namespace moxmeshtool
