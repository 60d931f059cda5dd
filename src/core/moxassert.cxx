#include "moxsdk/core/moxassert.h"

#include <atomic>
#include <cstdio>

namespace moxsdk {
namespace {

void DefaultAssertProc(const char* pFileName, const char* pFunctionName, unsigned int pLineNumber, const char* pMessage)
{
    std::fprintf(stderr, "%s(%u): %s: %s\n", pFileName ? pFileName : "", pLineNumber,
                 pFunctionName ? pFunctionName : "", pMessage ? pMessage : "");
}

std::atomic<MoxAssertProc> sgAssertProc{&DefaultAssertProc};

}  // namespace

void MoxAssertSetProc(MoxAssertProc pProc)
{
    sgAssertProc.store(pProc ? pProc : &DefaultAssertProc);
}

void _MoxAssert(const char* pFileName, const char* pFunctionName, unsigned int pLineNumber, const char* pMessage)
{
    sgAssertProc.load()(pFileName, pFunctionName, pLineNumber, pMessage);
}

}  // namespace moxsdk
