#include "KFMutex.h"
#include "detail/KFLock.h"

#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <vector>

using namespace kf::detail;

namespace {

class KFMutexTest : public testing::Test {
protected:
    KFMutexTest() { WrappedCalls::reset(); }
};

/// Whether another thread can lock the mutex at once (it unlocks it again).
bool isFreeForOthers(KFMutex& mutex) {
    bool taken = false;
    std::thread([&] {
        taken = pthread_mutex_trylock(mutex.getHandle()) == 0;
        if (taken)
            pthread_mutex_unlock(mutex.getHandle());
    }).join();
    return taken;
}

/// As isFreeForOthers(), through tryacquire().
bool canBeTriedByOthers(KFMutex& mutex) {
    bool taken = false;
    std::thread([&] {
        if (mutex.tryacquire()) {
            taken = true;
            mutex.release();
        }
    }).join();
    return taken;
}

/// As canBeTriedByOthers(), but waits for a moment.
bool canBeTakenByOthersInTime(KFMutex& mutex) {
    bool taken = false;
    std::thread([&] {
        if (acquireWithin(mutex, 20)) {
            taken = true;
            mutex.release();
        }
    }).join();
    return taken;
}

// The tests lock a recursive mutex twice in one function, which the thread-safety analysis does not support.
int take(KFMutex& mutex) KF_NO_THREAD_SAFETY_ANALYSIS;
int take(KFMutex& mutex) {
    return mutex.acquire();
}
bool tryToTake(KFMutex& mutex) KF_NO_THREAD_SAFETY_ANALYSIS;
bool tryToTake(KFMutex& mutex) {
    return mutex.tryacquire();
}
int give(KFMutex& mutex) KF_NO_THREAD_SAFETY_ANALYSIS;
int give(KFMutex& mutex) {
    return mutex.release();
}

struct Counter {
    KFMutex lock{true};
    int value KF_GUARDED_BY(lock) = 0;

    void add() {
        KFLock held(lock);
        ++value;
    }
    void addTwice() {
        KFLock held(lock);
        add();
        add();
    }
    int get() {
        KFLock held(lock);
        return value;
    }
};

} // namespace

TEST_F(KFMutexTest, ARecursiveMutexNeedsAsManyReleasesAsAcquisitions) {
    KFMutex mutex(true);
    EXPECT_EQ(WrappedCalls::recursiveTypesSet(), 1);
    EXPECT_EQ(take(mutex), 0);
    EXPECT_EQ(take(mutex), 0);
    EXPECT_FALSE(isFreeForOthers(mutex));
    EXPECT_EQ(give(mutex), 0);
    EXPECT_FALSE(isFreeForOthers(mutex));
    EXPECT_EQ(give(mutex), 0);
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST_F(KFMutexTest, ANonRecursiveMutexIsOfThePlatformsDefaultType) {
    KFMutex mutex(false);
    EXPECT_EQ(WrappedCalls::recursiveTypesSet(), 0);
    EXPECT_EQ(take(mutex), 0);
    EXPECT_FALSE(tryToTake(mutex));
    EXPECT_EQ(give(mutex), 0);
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST_F(KFMutexTest, TryacquireOfAMutexThatAnotherThreadHoldsIsFalseAtOnce) {
    for (const bool recursive : {false, true}) {
        KFMutex mutex(recursive);
        take(mutex);
        EXPECT_FALSE(canBeTriedByOthers(mutex)) << recursive;
        give(mutex);
        EXPECT_TRUE(canBeTriedByOthers(mutex)) << recursive;
    }
}

TEST_F(KFMutexTest, ALimitedWaitTellsWhetherItTookTheMutex) {
    KFMutex mutex(false);
    ASSERT_TRUE(canBeTakenByOthersInTime(mutex));
    take(mutex);
    EXPECT_FALSE(canBeTakenByOthersInTime(mutex));
    give(mutex);
    EXPECT_TRUE(canBeTakenByOthersInTime(mutex));
}

TEST_F(KFMutexTest, TryacquireTakesAFreeMutexAndARecursiveOneAgain) {
    KFMutex mutex(true);
    EXPECT_TRUE(tryToTake(mutex));
    EXPECT_TRUE(tryToTake(mutex));
    EXPECT_FALSE(isFreeForOthers(mutex));
    give(mutex);
    EXPECT_FALSE(isFreeForOthers(mutex));
    give(mutex);
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST_F(KFMutexTest, OperationsReturnThePosixResultUnchecked) {
    KFMutex mutex(true);
    WrappedCalls::get().mutexError = EOWNERDEAD;
    EXPECT_EQ(take(mutex), EOWNERDEAD);
    EXPECT_FALSE(tryToTake(mutex));
    EXPECT_EQ(give(mutex), EOWNERDEAD);
    WrappedCalls::get().mutexError = 0;
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST_F(KFMutexTest, AcquireWaitsUntilTheMutexIsFree) {
    KFMutex mutex(true);
    take(mutex);
    bool released = false; // guarded by the mutex
    bool seen = false;
    std::thread waiter([&] {
        take(mutex);
        seen = released;
        give(mutex);
    });
    released = true;
    give(mutex);
    waiter.join();
    EXPECT_TRUE(seen);
}

TEST_F(KFMutexTest, ItsHandleIsThePosixMutex) {
    KFMutex mutex(false);
    take(mutex);
    EXPECT_EQ(pthread_mutex_trylock(mutex.getHandle()), EBUSY);
    give(mutex);
}

TEST_F(KFMutexTest, IsDestroyedThroughItsBase) {
    EXPECT_TRUE(std::has_virtual_destructor<KFMutex>::value);
    EXPECT_FALSE(std::is_copy_constructible<KFMutex>::value);
}

TEST_F(KFMutexTest, ALockHoldsTheMutexForItsScope) {
    KFMutex mutex(true);
    {
        KFLock lock(mutex);
        EXPECT_FALSE(isFreeForOthers(mutex));
    }
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST_F(KFMutexTest, ALockGivesTheMutexBackWhenAnExceptionLeavesItsScope) {
    KFMutex mutex(true);
    try {
        KFLock lock(mutex);
        throw std::runtime_error("out");
    } catch (const std::runtime_error&) {
    }
    EXPECT_TRUE(isFreeForOthers(mutex));
}

TEST_F(KFMutexTest, KeepsThreadsOutOfEachOthersWay) {
    Counter counter;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&counter] {
            for (int n = 0; n < 1000; ++n)
                counter.addTwice();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(counter.get(), 8000);
}
