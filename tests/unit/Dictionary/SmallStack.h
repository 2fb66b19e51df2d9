#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

// A small stack for a thread: what fits into it fits into every thread's. Sanitizers need several times as
// much.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
static constexpr std::size_t SMALL_STACK = 8u << 20;
#else
static constexpr std::size_t SMALL_STACK = 512u << 10;
#endif

inline void runWithASmallStack(void (*body)()) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, SMALL_STACK), 0);
    const auto run = [](void* given) -> void* {
        (*static_cast<void (**)()>(given))();
        return nullptr;
    };
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}
