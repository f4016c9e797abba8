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

/// Tells the thread sanitizer that a lock has ended. The standard library's locks have trivial destructors here, so the
/// sanitizer would take the next lock at the same address for the old one, and report an order that never was.
#if defined(__SANITIZE_THREAD__)
#define TESSEL_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TESSEL_THREAD_SANITIZER 1
#endif
#endif
#ifdef TESSEL_THREAD_SANITIZER
extern "C" void __tsan_mutex_destroy(void* address, unsigned flags);
#define TESSEL_LOCK_HAS_ENDED(lock) __tsan_mutex_destroy((lock).native_handle(), 0U)
#else
#define TESSEL_LOCK_HAS_ENDED(lock) static_cast<void>(lock)
#endif
