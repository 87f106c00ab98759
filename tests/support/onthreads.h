// Many threads that do something at the same time.
#pragma once

#include <atomic>
#include <thread>
#include <vector>

namespace NS_TEST {

// Runs `action` with the numbers from 0 on, each on a thread of its own, all at the same time.
template <class Number, class Action>
void OnThreads(Number count, Action action) {
    std::atomic<Number> waiting{count};
    std::vector<std::thread> threads;
    for (Number i = 0; i < count; ++i) {
        threads.emplace_back([&waiting, &action, i] {
            --waiting;
            while (waiting > 0) {
                std::this_thread::yield();
            }
            action(i);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace NS_TEST
