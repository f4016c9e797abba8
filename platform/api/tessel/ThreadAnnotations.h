#pragma once

/// Names for clang's -Wthread-safety attributes; nothing under other compilers.
/// The locks of this code base are reentrant, so only fields are annotated (which lock guards them), and private
/// functions that expect a lock to be held by their caller.
#if defined(__clang__)
#define TESSEL_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define TESSEL_THREAD_ATTRIBUTE(x)
#endif

#define TESSEL_CAPABILITY(name) TESSEL_THREAD_ATTRIBUTE(capability(name))
#define TESSEL_SCOPED_CAPABILITY TESSEL_THREAD_ATTRIBUTE(scoped_lockable)
#define TESSEL_GUARDED_BY(lock) TESSEL_THREAD_ATTRIBUTE(guarded_by(lock))
#define TESSEL_PT_GUARDED_BY(lock) TESSEL_THREAD_ATTRIBUTE(pt_guarded_by(lock))
#define TESSEL_REQUIRES(...) TESSEL_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define TESSEL_REQUIRES_SHARED(...) TESSEL_THREAD_ATTRIBUTE(requires_shared_capability(__VA_ARGS__))
#define TESSEL_ACQUIRE(...) TESSEL_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define TESSEL_ACQUIRE_SHARED(...) TESSEL_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define TESSEL_RELEASE(...) TESSEL_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define TESSEL_RELEASE_SHARED(...) TESSEL_THREAD_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define TESSEL_RELEASE_GENERIC(...) TESSEL_THREAD_ATTRIBUTE(release_generic_capability(__VA_ARGS__))
#define TESSEL_TRY_ACQUIRE(...) TESSEL_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define TESSEL_NO_THREAD_SAFETY_ANALYSIS TESSEL_THREAD_ATTRIBUTE(no_thread_safety_analysis)
