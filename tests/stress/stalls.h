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

// Measures commands and calls that log. Beside them a thread only looks at the clock: how long it
// stands still is the machine's doing, and a machine that stops a thread for so long may do so
// several times within one call.
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

    // Ten times what they may take beside a healthy disk on a machine that does nothing else.
    // Returns what took longer.
    std::string Compare() const {
        return CompareOne("call", calls, 1) + CompareOne("command", commands, 20);
    }

    // The three figures in one line.
    std::string Describe() const {
        return "at most " + std::to_string(calls.Seconds()) + " s for a call, " +
               std::to_string(commands.Seconds()) + " s for a command, " +
               std::to_string(machine_.Seconds()) + " s for a look at the clock";
    }

  private:
    void Watch() {
        while (!stops_) {
            machine_.Measure([] {});
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
