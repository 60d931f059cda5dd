#pragma once
// LibraryReports: collects the library's reports (_MoxAssert) while the tool works.
//
// A report never stops a library operation: the operation goes on along its defined, safe path. The tool
// does not stop either, but it tells: each step's line in the report says how many reports the library
// made during that step, and quotes the first one. Without this the library's default procedure would
// print every report to stderr, which can be millions of lines for a damaged file.

#include <string>

namespace moxmeshtool {

class LibraryReports {
public:
    // Starts collecting (one collector at a time; the last one made is active).
    LibraryReports();
    // Stops collecting: the library's default procedure is back.
    ~LibraryReports();
    LibraryReports(const LibraryReports&) = delete;
    LibraryReports& operator=(const LibraryReports&) = delete;

    // Starts a new count (e.g. at the start of a step).
    void Mark();
    // Reports since the last Mark, and the first of them as "file: function: message".
    long CountSinceMark() const { return mCount; }
    const std::string& FirstSinceMark() const { return mFirst; }

private:
    static void Collect(const char* pFileName, const char* pFunctionName, unsigned int pLineNumber,
                        const char* pMessage);

    long mCount = 0;
    std::string mFirst;
    LibraryReports* mPrevious;
};

}  // namespace moxmeshtool
