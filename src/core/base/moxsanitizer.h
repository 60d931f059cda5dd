#pragma once
// sgAddressSanitizer: whether this build runs under AddressSanitizer. Memory that the library would keep
// for reuse is given back at once there, so that the sanitizer still sees every use after free.

namespace moxsdk {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool sgAddressSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool sgAddressSanitizer = true;
#else
constexpr bool sgAddressSanitizer = false;
#endif
#else
constexpr bool sgAddressSanitizer = false;
#endif

}  // namespace moxsdk
