#pragma once
// Assertion reports. A report never stops the operation that makes it: the caller goes on along its
// defensive path. Reports are on in every build type.

namespace moxsdk {

// pFileName is the source path without extension ("core/base/moxarray"), pFunctionName the bare
// function name ("RemoveAt"), pMessage the failed condition's text or a fixed sentence.
typedef void (*MoxAssertProc)(const char* pFileName, const char* pFunctionName, unsigned int pLineNumber,
                              const char* pMessage);

// Installs the procedure that receives every report; nullptr restores the default, which writes
// "file(line): function: message" to stderr.
void MoxAssertSetProc(MoxAssertProc pProc);

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
