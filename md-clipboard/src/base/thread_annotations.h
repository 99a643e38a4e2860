// What the compiler is told of locks, so that it can prove that a guarded member is only used under its lock.
// Clang checks it (-Wthread-safety); for every other compiler the words mean nothing.
#pragma once

#if defined(__clang__)
#define CLIP_THREAD_ANNOTATION(words) __attribute__((words))
#else
#define CLIP_THREAD_ANNOTATION(words)
#endif

// ---- Classes ----
// A lock. @param kind what messages call it
#define CLIP_CAPABILITY(kind) CLIP_THREAD_ANNOTATION(capability(kind))
// Holds a lock from its constructor to its destructor.
#define CLIP_SCOPED_CAPABILITY CLIP_THREAD_ANNOTATION(scoped_lockable)

// ---- Members ----
#define CLIP_GUARDED_BY(lock) CLIP_THREAD_ANNOTATION(guarded_by(lock))
// No lock of the class guards it. @param reason why it needs none; for readers, and scripts/check-locks asks for it
#define CLIP_UNGUARDED(reason)
// The order in which one thread takes several. Checked with -Wthread-safety-beta.
#define CLIP_ACQUIRED_BEFORE(...) CLIP_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))
#define CLIP_ACQUIRED_AFTER(...) CLIP_THREAD_ANNOTATION(acquired_after(__VA_ARGS__))

// ---- Functions; without an argument the object itself is the lock ----
// The caller holds the locks, and still holds them afterwards.
#define CLIP_REQUIRES(...) CLIP_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
// The caller must not hold them.
#define CLIP_EXCLUDES(...) CLIP_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define CLIP_ACQUIRE(...) CLIP_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define CLIP_RELEASE(...) CLIP_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
// First argument: the result that means that it was taken.
#define CLIP_TRY_ACQUIRE(...) CLIP_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
// Not checked inside. The reason stands beside it.
#define CLIP_NO_THREAD_SAFETY_ANALYSIS CLIP_THREAD_ANNOTATION(no_thread_safety_analysis)
