#pragma once
// LibraryReports: collects the library's reports (_MoxAssert) while the tool works.
//
// A report never stops a library operation: the operation goes on along its defined, safe path. The tool
// does not stop either, but it tells: each step's line in the report says how many reports the library
// made during that step, and quotes the first one. Without this the library's default procedure would
// print every report to stderr, which can be millions of lines for a damaged file.

#include <string>
#include <vector>

#include "moxsdk/core/moxassert.h"

namespace moxmeshtool {

// One distinct report (file, function and message) and how many times it was made.
struct ReportCount {
    std::string mFile;  // the source path without extension, e.g. "core/base/moxarray"
    std::string mFunction;
    std::string mMessage;
    long mCount = 0;
};

// "file: function: message", followed by " [meaning]" when the library knows what the report means
// (MoxReportMeaning), so that the user reads what went wrong.
std::string DescribeReport(const ReportCount& pReport);

// Adds pReport's count to the entry of pCounts with the same file, function and message, or appends it.
void AddReportCount(const ReportCount& pReport, std::vector<ReportCount>& pCounts);

// Collects the reports made on its thread while it lives (the innermost collector of a thread takes them);
// the host's report procedure stays in place for other threads and after it.
class LibraryReports : public moxsdk::MoxAssertCapture {
public:
    void OnReport(const char* pFileName, const char* pFunctionName, unsigned int pLineNumber,
                  const char* pMessage) override;

    // Starts a new count (e.g. at the start of a step).
    void Mark();
    // Reports since the last Mark; the distinct ones in the order they were first made, each with its count.
    long CountSinceMark() const { return mCount; }
    const std::vector<ReportCount>& DistinctSinceMark() const { return mDistinct; }

private:
    long mCount = 0;
    std::vector<ReportCount> mDistinct;
};

}  // namespace moxmeshtool
