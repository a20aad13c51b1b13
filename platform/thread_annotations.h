// Says in the code which lock guards what, for a compiler that can check it (clang's -Wthread-safety);
// nothing for others.
#pragma once

#ifdef __clang__
#define POE_THREAD_ANNOTATION(attribute) __attribute__((attribute))
#else
#define POE_THREAD_ANNOTATION(attribute)
#endif

// A variable that is used only with the lock held.
#define POE_GUARDED_BY(lock) POE_THREAD_ANNOTATION(guarded_by(lock))
// A pointer whose target is used only with the lock held.
#define POE_POINTEE_GUARDED_BY(lock) POE_THREAD_ANNOTATION(pt_guarded_by(lock))
// A function that is called only with the lock held.
#define POE_REQUIRES(lock) POE_THREAD_ANNOTATION(requires_capability(lock))
// A class whose objects hold a lock from construction to destruction, its constructor and its destructor.
#define POE_SCOPED_LOCK POE_THREAD_ANNOTATION(scoped_lockable)
#define POE_ACQUIRES(lock) POE_THREAD_ANNOTATION(acquire_capability(lock))
#define POE_RELEASES POE_THREAD_ANNOTATION(release_capability())
// A function that is left out of the check, with the reason beside it.
#define POE_NOT_CHECKED POE_THREAD_ANNOTATION(no_thread_safety_analysis)
