#pragma once

/// Clang's thread-safety attributes; other compilers ignore them.
/// Source: https://clang.llvm.org/docs/ThreadSafetyAnalysis.html
#if defined(__clang__)
#define ORVEL_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define ORVEL_THREAD_ATTRIBUTE(x)
#endif

#define ORVEL_CAPABILITY(x) ORVEL_THREAD_ATTRIBUTE(capability(x))
#define ORVEL_SCOPED_CAPABILITY ORVEL_THREAD_ATTRIBUTE(scoped_lockable)
#define ORVEL_GUARDED_BY(x) ORVEL_THREAD_ATTRIBUTE(guarded_by(x))
#define ORVEL_REQUIRES(...) ORVEL_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define ORVEL_ACQUIRE(...) ORVEL_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define ORVEL_RELEASE(...) ORVEL_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define ORVEL_EXCLUDES(...) ORVEL_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define ORVEL_NO_THREAD_SAFETY_ANALYSIS ORVEL_THREAD_ATTRIBUTE(no_thread_safety_analysis)
