#include "libraryreports.h"

#include "moxsdk/core/moxassert.h"

namespace moxmeshtool {
namespace {

// Per thread: a collector gathers the reports of its own thread only (the Python extension runs library
// calls on several threads at once).
thread_local LibraryReports* sgActive = nullptr;

}  // namespace

std::string DescribeReport(const ReportCount& pReport)
{
    return pReport.mFile + ": " + pReport.mFunction + ": " + pReport.mMessage;
}

// A step makes few distinct reports (messages are fixed texts), so a linear search is enough.
void AddReportCount(const ReportCount& pReport, std::vector<ReportCount>& pCounts)
{
    for (ReportCount& lCount : pCounts) {
        if (lCount.mMessage == pReport.mMessage && lCount.mFunction == pReport.mFunction &&
            lCount.mFile == pReport.mFile) {
            lCount.mCount += pReport.mCount;
            return;
        }
    }
    pCounts.push_back(pReport);
}

LibraryReports::LibraryReports() : mPrevious(sgActive)
{
    sgActive = this;
    moxsdk::MoxAssertSetProc(&LibraryReports::Collect);
}

LibraryReports::~LibraryReports()
{
    sgActive = mPrevious;
    moxsdk::MoxAssertSetProc(sgActive ? &LibraryReports::Collect : nullptr);
}

void LibraryReports::Mark()
{
    mCount = 0;
    mDistinct.clear();
}

void LibraryReports::Collect(const char* pFileName, const char* pFunctionName, unsigned int /*pLineNumber*/,
                             const char* pMessage)
{
    if (!sgActive) return;
    ++sgActive->mCount;
    AddReportCount(
        ReportCount{pFileName ? pFileName : "", pFunctionName ? pFunctionName : "", pMessage ? pMessage : "", 1},
        sgActive->mDistinct);
}

}  // namespace moxmeshtool
