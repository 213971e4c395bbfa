#pragma once

namespace halvercine::tests {

/// Whether this is built with a sanitizer. Those keep what is freed for a while and take terabytes
/// of address space. g++ defines macros, clang has features.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isSanitized = true;
#elif defined(__has_feature)
inline constexpr bool isSanitized =
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool isSanitized = false;
#endif

}  // namespace halvercine::tests
