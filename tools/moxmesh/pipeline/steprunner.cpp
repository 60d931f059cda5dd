#include "pipeline/steprunner.h"

#include <cstdio>

#include "io/memorybudget.h"

namespace moxmeshtool {

StepRunner::StepRunner(int pStepCount, std::ostream& pProgress) : mStepCount(pStepCount), mProgressStream(pProgress) {}

const StepRecord& StepRunner::Run(const std::string& pName, const std::function<std::string()>& pStep)
{
    const std::string lCounter =
        "[" + std::to_string(mRecords.size() + 1) + "/" + std::to_string(mStepCount) + "] " + pName;
    if (mProgress) mProgressStream << "moxmesh: " << lCounter << " ..." << std::endl;
    mReports.Mark();
    const auto lStart = std::chrono::steady_clock::now();
    StepRecord lRecord;
    lRecord.mName = pName;
    lRecord.mResult = pStep();
    lRecord.mSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - lStart).count();
    lRecord.mReports = mReports.CountSinceMark();
    lRecord.mReportCounts = mReports.DistinctSinceMark();
    if (mProgress)
        mProgressStream << "moxmesh: " << lCounter << " done in " << FormatSeconds(lRecord.mSeconds) << DescribeMemory()
                        << std::endl;
    mRecords.push_back(lRecord);
    return mRecords.back();
}

double StepRunner::TotalSeconds() const
{
    double lTotal = 0.0;
    for (const StepRecord& lRecord : mRecords) lTotal += lRecord.mSeconds;
    return lTotal;
}

std::string DescribeMemory()
{
    const size_t lResident = ProcessStatusBytes("VmRSS");
    const size_t lPeak = ProcessStatusBytes("VmHWM");
    if (lResident == 0 || lPeak == 0) return {};
    constexpr size_t lMegabyte = 1 << 20;
    return " (resident " + std::to_string(lResident / lMegabyte) + " MB, peak so far " +
           std::to_string(lPeak / lMegabyte) + " MB)";
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
