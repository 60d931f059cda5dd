#pragma once
// Shared test support: capturing reports, counting and failing allocations.

#include <string>
#include <vector>

#include "moxsdk/core/math/moxvector4.h"
#include "moxsdk/core/moxassert.h"

namespace moxtest {

// Expects the four components of pActual to be pX, pY, pZ, pW: exactly (infinities included) by default,
// within pTolerance otherwise.
void ExpectVector(const moxsdk::MoxVector4& pActual, double pX, double pY, double pZ, double pW,
                  double pTolerance = 0.0);

struct Report {
    std::string mFile;
    std::string mFunction;
    unsigned int mLine;
    std::string mMessage;
};

// Captures every report made on this thread while it lives (the innermost capture takes them); the
// installed procedure is left as it is.
class ReportCapture : public moxsdk::MoxAssertCapture {
public:
    void OnReport(const char* pFileName, const char* pFunctionName, unsigned int pLineNumber,
                  const char* pMessage) override;

    const std::vector<Report>& Reports() const { return mReports; }
    // The messages in order of report.
    std::vector<std::string> Messages() const;
    size_t Count() const { return Reports().size(); }
    // True when exactly one report was made with this file, function and message.
    bool HasOnly(const std::string& pFile, const std::string& pFunction, const std::string& pMessage) const;
    void Clear() { mReports.clear(); }

private:
    std::vector<Report> mReports;
};

// Routes the memory handlers through counters while it lives. The n-th allocation request (malloc,
// calloc or a realloc that asks for memory) can be made to fail; Live() counts blocks obtained and not
// yet freed through the handlers.
class AllocationTracker {
public:
    AllocationTracker();
    ~AllocationTracker();
    AllocationTracker(const AllocationTracker&) = delete;
    AllocationTracker& operator=(const AllocationTracker&) = delete;

    // Makes request number pN (1-based, counted from now) fail; 0 disables failing.
    void FailAt(long pN);
    // Makes every request from now fail (true) or none (false).
    void FailAll(bool pFail);
    long Requests() const;
    long Failures() const;
    long Live() const;
    // Byte sizes of every request since construction, in order.
    const std::vector<size_t>& Sizes() const;
};

}  // namespace moxtest
