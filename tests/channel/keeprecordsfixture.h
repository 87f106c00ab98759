// A log file that keeps its records, on a clock that stands still.
#pragma once

#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>

#include "channel/channelfixture.h"

namespace NS_TEST {

class KeepRecords : public LogFileTest {
  protected:
    KeepRecords() {
        SetPolicy(NS_LOG_SERVICE1::FilePolicy::kKeepRecords);
        Calls().StopMonotonicClock();
    }

    static void Fail(uint64_t count, int error = ENOSPC) {
        Calls().ScriptWrites([count, error](uint64_t number, std::string_view) {
            return number <= count ? Fate{0, error} : Fate();
        });
    }
    static void SetClockTo(int64_t seconds) { Calls().SetClock(SystemCalls::kStart + seconds, 0); }
    static std::string NameAfter(int seconds) {
        return NameAt("20240305_1407" + std::string(seconds == 0 ? "0" : "") +
                      std::to_string(9 + seconds));
    }
    uint64_t Dropped() const { return Counts().recordsDropped.Get(); }
};

}  // namespace NS_TEST
