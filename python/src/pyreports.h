#pragma once
// The library's reports (_MoxAssert) as Python warnings of class moxsdk.MeshWarning.
//
// The report procedure is process-wide, but reports are gathered per thread: a ReportCollector made on a
// thread receives the reports that thread's library calls make while it lives (the GIL released or not);
// reports made on a thread without one go to stderr as the library's default procedure writes them. Once
// the GIL is held again, Emit turns the gathered reports into warnings, in the order they were made.

#include <string>
#include <vector>

#include <pybind11/pybind11.h>

namespace moxpython {

struct LibraryReport {
    std::string mFile;
    std::string mFunction;
    unsigned int mLine = 0;
    std::string mMessage;
};

class ReportCollector {
public:
    ReportCollector();
    ~ReportCollector();
    ReportCollector(const ReportCollector&) = delete;
    ReportCollector& operator=(const ReportCollector&) = delete;

    // Issues one MeshWarning per gathered report (the GIL must be held) and forgets them. Throws
    // pybind11::error_already_set when a warning filter turns a warning into an exception.
    void Emit();

private:
    std::vector<LibraryReport> mReports;
    ReportCollector* mPrevious;
};

// Defines moxsdk.MeshWarning (a UserWarning with the attributes file, function, line and message) in pModule.
void DefineMeshWarning(pybind11::module_& pModule);

}  // namespace moxpython
