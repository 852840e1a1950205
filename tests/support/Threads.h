// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <initializer_list>
#include <thread>
#include <vector>

namespace Veltrand::Testing {

inline void sleepBriefly() {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

/// Calls @p body so many times on each of four threads, and @p meanwhile on this one until they have ended.
inline void onThreads(int times, const std::function<void()>& body,
                      const std::function<void()>& meanwhile = sleepBriefly) {
    std::vector<std::thread> threads(4);
    std::atomic<std::size_t> running{threads.size()};
    for (std::thread& thread : threads)
        thread = std::thread([&] {
            for (int i = 0; i < times; ++i)
                body();
            --running;
        });
    while (running > 0)
        meanwhile();
    for (std::thread& thread : threads)
        thread.join();
}

/// A call of something that stays in flight, to see what waits for its end.
class CallInFlight {
public:
    /// What is called.
    void operator()() {
        m_entered.set_value();
        m_mayLeave.get_future().wait();
        m_left = true;
    }

    /// Runs @p call, which comes to the function above, and then the actions, each on a thread of its own:
    /// none may return before the call has. While they wait, @p meanwhile runs.
    void expectWait(
        const std::function<void()>& call, std::initializer_list<std::function<void()>> actions,
        const std::function<void()>& meanwhile = [] {}) {
        std::thread caller(call);
        m_entered.get_future().wait();
        std::vector<std::future<bool>> ends;
        for (const auto& action : actions)
            ends.push_back(std::async(std::launch::async, [this, action] {
                action();
                return m_left.load();
            }));
        EXPECT_EQ(ends.front().wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
        meanwhile();
        m_mayLeave.set_value();
        for (auto& end : ends)
            EXPECT_TRUE(end.get());
        caller.join();
    }

private:
    std::promise<void> m_entered;
    std::promise<void> m_mayLeave;
    std::atomic<bool> m_left{false};
};

} // namespace Veltrand::Testing
