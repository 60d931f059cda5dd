#include "support/moxtestsupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <mutex>
#include <unordered_set>

#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxmemory.h"

namespace moxtest {
namespace {

struct TrackerState {
    std::mutex mMutex;
    long mRequests = 0;
    long mFailAt = 0;
    bool mFailAll = false;
    long mFailures = 0;
    std::unordered_set<void*> mLive;
    std::vector<size_t> mSizes;
};

TrackerState* sgTracker = nullptr;

// Counts a request; true when it must fail.
bool NextRequestFails(size_t pSize)
{
    ++sgTracker->mRequests;
    sgTracker->mSizes.push_back(pSize);
    const bool lFail = sgTracker->mFailAll || sgTracker->mRequests == sgTracker->mFailAt;
    if (lFail) ++sgTracker->mFailures;
    return lFail;
}

void* TrackedMalloc(size_t pSize)
{
    std::lock_guard<std::mutex> lLock(sgTracker->mMutex);
    if (NextRequestFails(pSize)) return nullptr;
    void* lBlock = std::malloc(pSize);
    if (lBlock) sgTracker->mLive.insert(lBlock);
    return lBlock;
}

void* TrackedCalloc(size_t pCount, size_t pSize)
{
    std::lock_guard<std::mutex> lLock(sgTracker->mMutex);
    if (NextRequestFails(pCount * pSize)) return nullptr;
    void* lBlock = std::calloc(pCount, pSize);
    if (lBlock) sgTracker->mLive.insert(lBlock);
    return lBlock;
}

void* TrackedRealloc(void* pData, size_t pSize)
{
    std::lock_guard<std::mutex> lLock(sgTracker->mMutex);
    if (NextRequestFails(pSize)) return nullptr;
    void* lBlock = std::realloc(pData, pSize);
    if (lBlock) {
        if (pData) sgTracker->mLive.erase(pData);
        sgTracker->mLive.insert(lBlock);
    }
    return lBlock;
}

void TrackedFree(void* pData)
{
    std::lock_guard<std::mutex> lLock(sgTracker->mMutex);
    if (pData) sgTracker->mLive.erase(pData);
    std::free(pData);
}

}  // namespace

void ReportCapture::OnReport(const char* pFile, const char* pFunction, unsigned int pLine, const char* pMessage)
{
    mReports.push_back({pFile ? pFile : "", pFunction ? pFunction : "", pLine, pMessage ? pMessage : ""});
}

std::vector<std::string> ReportCapture::Messages() const
{
    std::vector<std::string> lMessages;
    for (const Report& lReport : mReports) lMessages.push_back(lReport.mMessage);
    return lMessages;
}

bool ReportCapture::HasOnly(const std::string& pFile, const std::string& pFunction, const std::string& pMessage) const
{
    return mReports.size() == 1 && mReports[0].mFile == pFile && mReports[0].mFunction == pFunction &&
           mReports[0].mMessage == pMessage;
}

AllocationTracker::AllocationTracker()
{
    sgTracker = new TrackerState();
    moxsdk::MoxSetMallocHandler(&TrackedMalloc);
    moxsdk::MoxSetCallocHandler(&TrackedCalloc);
    moxsdk::MoxSetReallocHandler(&TrackedRealloc);
    moxsdk::MoxSetFreeHandler(&TrackedFree);
}

AllocationTracker::~AllocationTracker()
{
    moxsdk::MoxSetMallocHandler(nullptr);
    moxsdk::MoxSetCallocHandler(nullptr);
    moxsdk::MoxSetReallocHandler(nullptr);
    moxsdk::MoxSetFreeHandler(nullptr);
    delete sgTracker;
    sgTracker = nullptr;
}

// The handlers need the state in a file static; the methods still answer for the live tracker object, so
// they stay members.
// NOLINTBEGIN(readability-convert-member-functions-to-static)
void AllocationTracker::FailAt(long pN)
{
    std::lock_guard<std::mutex> lLock(sgTracker->mMutex);
    sgTracker->mFailAt = pN == 0 ? 0 : sgTracker->mRequests + pN;
}

void AllocationTracker::FailAll(bool pFail)
{
    std::lock_guard<std::mutex> lLock(sgTracker->mMutex);
    sgTracker->mFailAll = pFail;
}

long AllocationTracker::Requests() const
{
    return sgTracker->mRequests;
}

long AllocationTracker::Failures() const
{
    return sgTracker->mFailures;
}

long AllocationTracker::Live() const
{
    return static_cast<long>(sgTracker->mLive.size());
}

const std::vector<size_t>& AllocationTracker::Sizes() const
{
    return sgTracker->mSizes;
}
// NOLINTEND(readability-convert-member-functions-to-static)

void ExpectVector(const moxsdk::MoxVector4& pActual, double pX, double pY, double pZ, double pW, double pTolerance)
{
    const double lExpected[4] = {pX, pY, pZ, pW};
    for (int i = 0; i < 4; ++i) {
        if (pTolerance == 0.0)
            EXPECT_EQ(pActual[i], lExpected[i]) << "component " << i;
        else
            EXPECT_NEAR(pActual[i], lExpected[i], pTolerance) << "component " << i;
    }
}

}  // namespace moxtest
