#pragma once
// MemoryBudget: a bound on the memory a third-party reader may take while it reads one file.
//
// Some readers believe the counts in a file's header and reserve that much memory before reading on:
// assimp-testmodels' invalid/OutOfMemory.off declares 353,535,235,358 vertices in 309 bytes, and Assimp
// sets out to fill 16 GB for them. While a budget lives, the process's data limit (RLIMIT_DATA, which
// covers heap and private mappings) allows only pBytes more than the process uses at its start, so such
// an allocation fails at once with std::bad_alloc, which the reader catches and reports. The previous
// limit is restored when the budget ends. Where the limit cannot be read or set, the budget does nothing.

#include <cstddef>

#include <sys/resource.h>

namespace moxmeshtool {

// A size of the process from /proc/self/status, in bytes: pField is "VmData", "VmRSS" (resident now),
// "VmHWM" (peak resident so far), ...; 0 when it cannot be read.
size_t ProcessStatusBytes(const char* pField);

class MemoryBudget {
public:
    explicit MemoryBudget(size_t pBytes);
    ~MemoryBudget();
    MemoryBudget(const MemoryBudget&) = delete;
    MemoryBudget& operator=(const MemoryBudget&) = delete;

    bool Active() const { return mActive; }

private:
    bool mActive = false;
    rlimit mPrevious{};
};

}  // namespace moxmeshtool
