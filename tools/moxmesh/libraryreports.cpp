#include "libraryreports.h"

#include "moxsdk/core/moxassert.h"

namespace moxmeshtool {
namespace {

LibraryReports* sgActive = nullptr;

}  // namespace

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
    mFirst.clear();
}

void LibraryReports::Collect(const char* pFileName, const char* pFunctionName, unsigned int /*pLineNumber*/,
                             const char* pMessage)
{
    if (!sgActive) return;
    if (sgActive->mCount++ == 0)
        sgActive->mFirst = std::string(pFileName ? pFileName : "") + ": " + (pFunctionName ? pFunctionName : "") +
                           ": " + (pMessage ? pMessage : "");
}

}  // namespace moxmeshtool
