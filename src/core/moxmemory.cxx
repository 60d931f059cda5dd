#include "moxsdk/core/moxmemory.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace moxsdk {
namespace {

std::atomic<MoxMallocProc> sgMallocHandler{&std::malloc};
std::atomic<MoxCallocProc> sgCallocHandler{&std::calloc};
std::atomic<MoxReallocProc> sgReallocHandler{&std::realloc};
std::atomic<MoxFreeProc> sgFreeHandler{&std::free};

}  // namespace

// No object can be larger than PTRDIFF_MAX bytes: such requests (saturated sizes among them) fail here
// without reaching the handler.
void* MoxMalloc(size_t pSize)
{
    if (pSize > static_cast<size_t>(PTRDIFF_MAX)) return nullptr;
    return sgMallocHandler.load()(pSize);
}

void* MoxCalloc(size_t pCount, size_t pSize)
{
    if (MoxAllocSize(pCount, pSize) > static_cast<size_t>(PTRDIFF_MAX)) return nullptr;
    return sgCallocHandler.load()(pCount, pSize);
}

void* MoxRealloc(void* pData, size_t pSize)
{
    if (pSize > static_cast<size_t>(PTRDIFF_MAX)) return nullptr;
    return sgReallocHandler.load()(pData, pSize);
}

void MoxFree(void* pData)
{
    sgFreeHandler.load()(pData);
}

size_t MoxAllocSize(size_t pCount, size_t pSize)
{
    if (pSize != 0 && pCount > SIZE_MAX / pSize) return SIZE_MAX;
    return pCount * pSize;
}

size_t MoxAllocSizeAdd(size_t pA, size_t pB)
{
    return pA > SIZE_MAX - pB ? SIZE_MAX : pA + pB;
}

void MoxSetMallocHandler(MoxMallocProc pHandler)
{
    sgMallocHandler.store(pHandler ? pHandler : &std::malloc);
}

void MoxSetCallocHandler(MoxCallocProc pHandler)
{
    sgCallocHandler.store(pHandler ? pHandler : &std::calloc);
}

void MoxSetReallocHandler(MoxReallocProc pHandler)
{
    sgReallocHandler.store(pHandler ? pHandler : &std::realloc);
}

void MoxSetFreeHandler(MoxFreeProc pHandler)
{
    sgFreeHandler.store(pHandler ? pHandler : &std::free);
}

}  // namespace moxsdk
