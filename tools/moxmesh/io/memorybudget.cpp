#include "io/memorybudget.h"

#include <cstdio>
#include <cstring>

namespace moxmeshtool {

size_t ProcessStatusBytes(const char* pField)
{
    std::FILE* lStatus = std::fopen("/proc/self/status", "r");
    if (!lStatus) return 0;
    const size_t lFieldLength = std::strlen(pField);
    char lLine[256];
    unsigned long long lKilobytes = 0;
    while (std::fgets(lLine, sizeof lLine, lStatus))
        if (std::strncmp(lLine, pField, lFieldLength) == 0 && lLine[lFieldLength] == ':' &&
            std::sscanf(lLine + lFieldLength + 1, "%llu kB", &lKilobytes) == 1)
            break;
    std::fclose(lStatus);
    return static_cast<size_t>(lKilobytes) * 1024;
}

MemoryBudget::MemoryBudget(size_t pBytes)
{
    const size_t lCurrent = ProcessStatusBytes("VmData");
    if (lCurrent == 0 || getrlimit(RLIMIT_DATA, &mPrevious) != 0) return;
    rlimit lLimit = mPrevious;
    const rlim_t lWanted = static_cast<rlim_t>(lCurrent + pBytes);
    if (lWanted < lCurrent) return;  // overflow: no bound worth setting
    if (lLimit.rlim_max != RLIM_INFINITY && lWanted > lLimit.rlim_max) return;
    if (lLimit.rlim_cur != RLIM_INFINITY && lWanted > lLimit.rlim_cur) return;
    lLimit.rlim_cur = lWanted;
    mActive = setrlimit(RLIMIT_DATA, &lLimit) == 0;
}

MemoryBudget::~MemoryBudget()
{
    if (mActive) setrlimit(RLIMIT_DATA, &mPrevious);
}

}  // namespace moxmeshtool
