// Whether this build runs many times slower than an optimised one, so that exhaustive tests take
// samples of their cases.
#pragma once

namespace kelra_test {

#if !defined(__OPTIMIZE__) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kSlowBuild = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kSlowBuild = true;
#else
inline constexpr bool kSlowBuild = false;
#endif
#else
inline constexpr bool kSlowBuild = false;
#endif

}  // namespace kelra_test
