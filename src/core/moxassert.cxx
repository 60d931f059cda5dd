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

// The innermost capture of this thread, or null.
thread_local MoxAssertCapture* sgCapture = nullptr;

}  // namespace

void MoxAssertSetProc(MoxAssertProc pProc)
{
    sgAssertProc.store(pProc ? pProc : &DefaultAssertProc);
}

MoxAssertProc MoxAssertGetProc()
{
    return sgAssertProc.load();
}

MoxAssertCapture::MoxAssertCapture() : mOuter(sgCapture)
{
    sgCapture = this;
}

MoxAssertCapture::~MoxAssertCapture()
{
    sgCapture = mOuter;
}

void _MoxAssert(const char* pFileName, const char* pFunctionName, unsigned int pLineNumber, const char* pMessage)
{
    if (sgCapture) {
        sgCapture->OnReport(pFileName, pFunctionName, pLineNumber, pMessage);
        return;
    }
    sgAssertProc.load()(pFileName, pFunctionName, pLineNumber, pMessage);
}

}  // namespace moxsdk
