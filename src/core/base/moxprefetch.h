#pragma once
// MoxPrefetch: a hint that memory at an address will be read soon, so that a loop can start the loads of
// a few elements ahead and let their cache misses overlap instead of waiting for each in turn. It never
// faults and changes nothing observable, whatever the address; where the compiler offers no such hint it
// does nothing.

namespace moxsdk {

inline void MoxPrefetch(const void* pAddress)
{
#if defined(__GNUC__)
    __builtin_prefetch(pAddress);
#else
    (void)pAddress;
#endif
}

}  // namespace moxsdk
