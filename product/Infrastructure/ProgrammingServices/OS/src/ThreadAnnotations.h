#pragma once

// Names for clang's thread-safety analysis (-Wthread-safety). They state which lock guards what, and clang
// checks every access against it; other compilers ignore them.
//
//     KFMutex m_lock{true};
//     std::deque<std::string> m_queue KF_GUARDED_BY(m_lock);
//     void drain() KF_REQUIRES(m_lock);
//
// The analysis does not know recursive mutexes: inside one function a lock is taken once. Taking it again in
// a called function is fine, as long as that function carries neither KF_REQUIRES nor KF_EXCLUDES for it.

#if defined(__clang__)
#define KF_THREAD_ANNOTATION_(x) __attribute__((x))
#else
#define KF_THREAD_ANNOTATION_(x)
#endif

/// A class whose objects are locks; the name appears in the diagnostics ("mutex").
#define KF_CAPABILITY(name) KF_THREAD_ANNOTATION_(capability(name))
/// A class that takes a lock in its constructor and releases it in its destructor.
#define KF_SCOPED_CAPABILITY KF_THREAD_ANNOTATION_(scoped_lockable)

/// The field may be accessed only while the lock is held; KF_PT_: what the pointer points to.
#define KF_GUARDED_BY(lock) KF_THREAD_ANNOTATION_(guarded_by(lock))
#define KF_PT_GUARDED_BY(lock) KF_THREAD_ANNOTATION_(pt_guarded_by(lock))

/// The order in which two locks are taken.
#define KF_ACQUIRED_BEFORE(...) KF_THREAD_ANNOTATION_(acquired_before(__VA_ARGS__))
#define KF_ACQUIRED_AFTER(...) KF_THREAD_ANNOTATION_(acquired_after(__VA_ARGS__))

/// The caller holds the lock; the caller must not hold it.
#define KF_REQUIRES(...) KF_THREAD_ANNOTATION_(requires_capability(__VA_ARGS__))
#define KF_EXCLUDES(...) KF_THREAD_ANNOTATION_(locks_excluded(__VA_ARGS__))

/// The function takes the lock; releases it; takes it if it returns the given value.
#define KF_ACQUIRE(...) KF_THREAD_ANNOTATION_(acquire_capability(__VA_ARGS__))
#define KF_RELEASE(...) KF_THREAD_ANNOTATION_(release_capability(__VA_ARGS__))
#define KF_TRY_ACQUIRE(...) KF_THREAD_ANNOTATION_(try_acquire_capability(__VA_ARGS__))

/// The function makes sure at run time that the lock is held.
#define KF_ASSERT_CAPABILITY(lock) KF_THREAD_ANNOTATION_(assert_capability(lock))
/// The function returns a reference to the lock.
#define KF_RETURN_CAPABILITY(lock) KF_THREAD_ANNOTATION_(lock_returned(lock))
/// Switches the analysis off for one function; say why beside it.
#define KF_NO_THREAD_SAFETY_ANALYSIS KF_THREAD_ANNOTATION_(no_thread_safety_analysis)
