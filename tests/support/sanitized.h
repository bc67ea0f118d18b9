// Whether a sanitizer is built in, which makes a program slower and larger than the product.
#pragma once

namespace kesto::test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool SANITIZED = true;
#else
inline constexpr bool SANITIZED = false;
#endif

/// How much slower a job may be.
#ifdef __SANITIZE_THREAD__
inline constexpr int SLOWNESS = 8;
#else
inline constexpr int SLOWNESS = 1;
#endif

}  // namespace kesto::test
