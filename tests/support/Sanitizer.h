// support/Sanitizer.h — whether a sanitizer watches this test, and the time it takes for that.
#pragma once

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define WATCHED_BY_A_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define WATCHED_BY_A_SANITIZER
#endif
#endif

#ifdef __SANITIZE_THREAD__
#define WATCHED_BY_THE_THREAD_SANITIZER
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define WATCHED_BY_THE_THREAD_SANITIZER
#endif
#endif

#ifdef WATCHED_BY_A_SANITIZER
inline constexpr bool watchedBySanitizer = true;
#else
inline constexpr bool watchedBySanitizer = false;
#endif

/// The seconds for which a test waits until others have done something that takes them `seconds` at most:
/// several times as many under a sanitizer. For limits of waiting only, never for what a recording has to hold.
constexpr double patience(double seconds) {
    return watchedBySanitizer ? 4.0 * seconds : seconds;
}
