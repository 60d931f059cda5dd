#include "pipeline/steprunner.h"

#include <cstdio>

#include <sys/resource.h>

#include "io/memorybudget.h"

namespace moxmeshtool {

StepRunner::StepRunner(int pStepCount, std::ostream& pProgress) : mStepCount(pStepCount), mProgressStream(pProgress) {}

const StepRecord& StepRunner::Run(const std::string& pName, const std::function<std::string()>& pStep)
{
    const std::string lCounter =
        "[" + std::to_string(mRecords.size() + 1) + "/" + std::to_string(mStepCount) + "] " + pName;
    if (mProgress) mProgressStream << "moxmesh: " << lCounter << " ..." << std::endl;
    mReports.Mark();
    const ProcessUsage lUsage = ReadProcessUsage();
    const auto lStart = std::chrono::steady_clock::now();
    StepRecord lRecord;
    lRecord.mName = pName;
    lRecord.mResult = pStep();
    lRecord.mSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - lStart).count();
    lRecord.mReports = mReports.CountSinceMark();
    lRecord.mReportCounts = mReports.DistinctSinceMark();
    if (mProgress)
        mProgressStream << "moxmesh: " << lCounter << " done in " << FormatSeconds(lRecord.mSeconds)
                        << DescribeUsageSince(lUsage) << std::endl;
    mRecords.push_back(lRecord);
    return mRecords.back();
}

double StepRunner::TotalSeconds() const
{
    double lTotal = 0.0;
    for (const StepRecord& lRecord : mRecords) lTotal += lRecord.mSeconds;
    return lTotal;
}

ProcessUsage ReadProcessUsage()
{
    rusage lUsage{};
    if (getrusage(RUSAGE_SELF, &lUsage) != 0) return {};
    const auto lSeconds = [](const timeval& pTime) {
        return static_cast<double>(pTime.tv_sec) + static_cast<double>(pTime.tv_usec) * 1e-6;
    };
    return {lSeconds(lUsage.ru_utime), lSeconds(lUsage.ru_stime), lUsage.ru_minflt};
}

std::string DescribeUsageSince(const ProcessUsage& pBefore)
{
    const ProcessUsage lNow = ReadProcessUsage();
    std::string lText = " (cpu " + FormatSeconds(lNow.mUserSeconds - pBefore.mUserSeconds) + " user + " +
                        FormatSeconds(lNow.mSystemSeconds - pBefore.mSystemSeconds) + " system, " +
                        std::to_string(lNow.mMinorFaults - pBefore.mMinorFaults) + " page faults";
    const size_t lResident = ProcessStatusBytes("VmRSS");
    const size_t lPeak = ProcessStatusBytes("VmHWM");
    constexpr size_t lMegabyte = 1 << 20;
    if (lResident != 0 && lPeak != 0)
        lText += "; resident " + std::to_string(lResident / lMegabyte) + " MB, peak so far " +
                 std::to_string(lPeak / lMegabyte) + " MB";
    return lText + ")";
}

std::string FormatSeconds(double pSeconds)
{
    char lText[32];
    if (pSeconds < 0.01)
        std::snprintf(lText, sizeof lText, "%.2f ms", pSeconds * 1e3);
    else if (pSeconds < 1.0)
        std::snprintf(lText, sizeof lText, "%.1f ms", pSeconds * 1e3);
    else
        std::snprintf(lText, sizeof lText, "%.2f s", pSeconds);
    return lText;
}

}  // namespace moxmeshtool
