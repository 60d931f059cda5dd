#include "pipeline/libraryreports.h"

#include "moxsdk/core/moxassert.h"
#include "moxsdk/core/moxreportmeaning.h"

namespace moxmeshtool {

std::string DescribeReport(const ReportCount& pReport)
{
    const std::string lReport = pReport.mFile + ": " + pReport.mFunction + ": " + pReport.mMessage;
    const char* lMeaning = moxsdk::MoxReportMeaning(pReport.mFile.c_str(), pReport.mMessage.c_str());
    return lMeaning ? lReport + " [" + lMeaning + "]" : lReport;
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

void LibraryReports::Mark()
{
    mCount = 0;
    mDistinct.clear();
}

void LibraryReports::OnReport(const char* pFileName, const char* pFunctionName, unsigned int /*pLineNumber*/,
                              const char* pMessage)
{
    ++mCount;
    AddReportCount(
        ReportCount{pFileName ? pFileName : "", pFunctionName ? pFunctionName : "", pMessage ? pMessage : "", 1},
        mDistinct);
}

}  // namespace moxmeshtool
