// How long the calls of the stress take at most.
#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace NS_TEST {

// The longest of many durations. Thread safety: any thread.
class LongestWait {
  public:
    template <class Action>
    void Measure(const Action& action) {
        const auto begin = std::chrono::steady_clock::now();
        action();
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        double longest = longest_.load(std::memory_order_relaxed);
        while (longest < seconds && !longest_.compare_exchange_weak(longest, seconds)) {
        }
    }
    double Seconds() const { return longest_; }

  private:
    std::atomic<double> longest_{0};
};

// Measures commands and calls that log. Beside them a thread only gives way to the others: how long
// it waits for its turn is the machine's doing, and a machine that stops a thread for so long may
// do so several times within one call.
class Stalls {
  public:
    Stalls() : watch_([this] { Watch(); }) {}
    ~Stalls() {
        stops_ = true;
        watch_.join();
    }
    Stalls(const Stalls&) = delete;
    Stalls& operator=(const Stalls&) = delete;

    LongestWait calls;
    LongestWait commands;

    // Ten times what they may take beside a healthy disk on a machine that does nothing else; more
    // where a sanitizer makes everything slower. Returns what took longer.
    std::string Compare() const {
        return CompareOne("call", calls, 1 * kSlowness) +
               CompareOne("command", commands, 20 * kSlowness);
    }

    // The three figures in one line.
    std::string Describe() const {
        return "at most " + std::to_string(calls.Seconds()) + " s for a call, " +
               std::to_string(commands.Seconds()) + " s for a command, " +
               std::to_string(machine_.Seconds()) + " s for a turn";
    }

  private:
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    static constexpr double kSlowness = 5;
#else
    static constexpr double kSlowness = 1;
#endif

    void Watch() {
        while (!stops_) {
            machine_.Measure([] { std::this_thread::yield(); });
        }
    }
    std::string CompareOne(const char* what, const LongestWait& wait, double seconds) const {
        return wait.Seconds() <= seconds + 10 * machine_.Seconds()
                   ? ""
                   : std::string("a ") + what + " waited too long: " + Describe() + "\n";
    }

    LongestWait machine_;
    std::atomic<bool> stops_{false};
    std::thread watch_;
};

}  // namespace NS_TEST
