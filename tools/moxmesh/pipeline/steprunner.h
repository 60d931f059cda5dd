#pragma once
// StepRunner: runs the steps of a command one after the other, timing each, and keeps a record of what
// each did for the report.
//
// With progress on, each step announces itself on the progress stream when it starts and again when it
// ends, with its time, the processor time and minor page faults it took, and the process's memory
// (resident, and the peak so far), so that a long run on a large file shows where it is and which step
// needs the most memory. On a loaded machine the processor time is the step's own cost; the time waits
// for the processor too. Progress can be switched on
// between steps (after reading, when the file turns out to be large).

#include <chrono>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "pipeline/libraryreports.h"

namespace moxmeshtool {

struct StepRecord {
    std::string mName;    // e.g. "GenerateNormals"
    std::string mResult;  // what the step produced, e.g. "2112 normals by polygon vertex"
    double mSeconds = 0.0;
    long mReports = 0;                       // library reports made during the step
    std::vector<ReportCount> mReportCounts;  // the distinct ones, in the order they were first made

    // The first report of the step as DescribeReport gives it; empty when there was none.
    std::string FirstReport() const { return mReportCounts.empty() ? std::string() : DescribeReport(mReportCounts[0]); }
};

class StepRunner {
public:
    // pStepCount: the number of steps the command will run (shown in progress lines as [i/n]).
    StepRunner(int pStepCount, std::ostream& pProgress);

    void SetStepCount(int pStepCount) { mStepCount = pStepCount; }
    void SetProgress(bool pOn) { mProgress = pOn; }
    bool Progress() const { return mProgress; }

    // Runs one step: pStep does the work and returns its result text.
    const StepRecord& Run(const std::string& pName, const std::function<std::string()>& pStep);

    const std::vector<StepRecord>& Records() const { return mRecords; }
    double TotalSeconds() const;

private:
    int mStepCount;
    std::ostream& mProgressStream;
    bool mProgress = false;
    LibraryReports mReports;
    std::vector<StepRecord> mRecords;
};

// What the process has used so far (getrusage).
struct ProcessUsage {
    double mUserSeconds = 0.0;
    double mSystemSeconds = 0.0;
    long mMinorFaults = 0;
};
ProcessUsage ReadProcessUsage();

// " (cpu 0.31 s user + 0.20 s system, 4100 page faults; resident 412 MB, peak so far 530 MB)": what the
// process used since pBefore, then its memory now (left out where it cannot be read).
std::string DescribeUsageSince(const ProcessUsage& pBefore);

// A duration for people: "0.42 ms", "12.3 ms", "1.24 s".
std::string FormatSeconds(double pSeconds);

}  // namespace moxmeshtool
