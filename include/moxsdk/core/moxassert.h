#pragma once
// Assertion reports. A report never stops the operation that makes it: the caller goes on along its
// defensive path. Reports are on in every build type.

namespace moxsdk {

// pFileName is the source path without extension ("core/base/moxarray"), pFunctionName the bare
// function name ("RemoveAt"), pMessage the failed condition's text or a fixed sentence.
typedef void (*MoxAssertProc)(const char* pFileName, const char* pFunctionName, unsigned int pLineNumber,
                              const char* pMessage);

// Installs the procedure that receives every report not taken by a capture (below); nullptr restores the
// default, which writes "file(line): function: message" to stderr.
void MoxAssertSetProc(MoxAssertProc pProc);

// The procedure installed now (the default one when none was set), so that a host can put it back.
MoxAssertProc MoxAssertGetProc();

// A scoped capture of the reports made on the constructing thread: while it lives, those reports go to
// its OnReport instead of the installed procedure. Captures nest: the innermost one on a thread takes the
// reports, and its destruction hands them back to the enclosing capture, or to the installed procedure
// when there is none. The procedure itself is never replaced, so a host's procedure stays in place for
// other threads and after the capture. Destroy captures on their thread in reverse order of creation.
class MoxAssertCapture {
public:
    MoxAssertCapture();
    virtual ~MoxAssertCapture();
    MoxAssertCapture(const MoxAssertCapture&) = delete;
    MoxAssertCapture& operator=(const MoxAssertCapture&) = delete;

    // Receives one report; the arguments are those of MoxAssertProc and live only during the call.
    virtual void OnReport(const char* pFileName, const char* pFunctionName, unsigned int pLineNumber,
                          const char* pMessage) = 0;

private:
    MoxAssertCapture* mOuter;
};

void _MoxAssert(const char* pFileName, const char* pFunctionName, unsigned int pLineNumber, const char* pMessage);

}  // namespace moxsdk

// Reports pMessage from the current function when pCondition is false.
#define MOX_ASSERT_MSG(pFile, pCondition, pMessage)                                                                    \
    do {                                                                                                               \
        if (!(pCondition)) ::moxsdk::_MoxAssert(pFile, __func__, static_cast<unsigned int>(__LINE__), pMessage);       \
    } while (0)

// Reports the condition's own text when it is false.
#define MOX_ASSERT(pFile, pCondition) MOX_ASSERT_MSG(pFile, pCondition, #pCondition)

// Reports pMessage unconditionally.
#define MOX_REPORT(pFile, pMessage) ::moxsdk::_MoxAssert(pFile, __func__, static_cast<unsigned int>(__LINE__), pMessage)
