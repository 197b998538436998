/// Several threads of one test.
#pragma once

#include <cstddef>
#include <thread>
#include <vector>

/// Runs `work(thread)` on so many threads at once, and waits for them.
template <class Work>
void runOn(int threads, const Work& work)
{
    std::vector<std::jthread> running;
    running.reserve(static_cast<std::size_t>(threads));
    for (int thread = 0; thread < threads; ++thread)
        running.emplace_back(work, thread);
}
