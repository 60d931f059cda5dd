#pragma once
// The library's reports (_MoxAssert) as Python warnings of class moxsdk.MeshWarning.
//
// Reports are gathered per thread: a ReportCollector made on a thread receives the reports that thread's
// library calls make while it lives (the GIL released or not); reports made on a thread without one go to
// the installed report procedure (by default to stderr). Once the GIL is held again, Emit turns the
// gathered reports into warnings, in the order they were made.

#include <string>
#include <vector>

#include <pybind11/pybind11.h>

#include "moxsdk/core/moxassert.h"

namespace moxpython {

struct LibraryReport {
    std::string mFile;
    std::string mFunction;
    unsigned int mLine = 0;
    std::string mMessage;
};

class ReportCollector : public moxsdk::MoxAssertCapture {
public:
    void OnReport(const char* pFileName, const char* pFunctionName, unsigned int pLineNumber,
                  const char* pMessage) override;

    // Issues one MeshWarning per gathered report (the GIL must be held) and forgets them. Throws
    // pybind11::error_already_set when a warning filter turns a warning into an exception.
    void Emit();

private:
    std::vector<LibraryReport> mReports;
};

// Defines moxsdk.MeshWarning (a UserWarning with the attributes file, function, line and message) in pModule.
void DefineMeshWarning(pybind11::module_& pModule);

}  // namespace moxpython
