/// Runs code on a thread with a stack of 512 KiB, the smallest that hosts give their threads.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <pthread.h>

inline void zrTestOnSmallStack(const std::function<void()>& action)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr std::size_t size = 16 * 512 * 1024; // instrumented frames are several times as large
#else
    constexpr std::size_t size = 512 * 1024;
#endif
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, size), 0);
    pthread_t thread{};
    const auto run = [](void* data) -> void*
    {
        (*static_cast<const std::function<void()>*>(data))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&action)), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}
