#include "channel/timestamps.h"

#include <dlfcn.h>

#include <atomic>
#include <stdexcept>
#include <string>

#include "bundlemgr/logsupport.h"

namespace {

std::atomic<long> g_stampsLeft{-1};

bool IsRefused() {
    const long left = g_stampsLeft;
    if (left > 0) {
        --g_stampsLeft;
    }
    return left == 0;
}

}  // namespace

namespace NS_TEST {

void RefuseTimesAfter(long successes) {
    g_stampsLeft = successes;
}

}  // namespace NS_TEST

namespace NS_BUNDLEMGR1 {

// In place of the platform's, for a service that is linked into the program statically.
void GetZoneTimeStamp(const ACE_Time_Value& time, std::string& stamp) {
    if (IsRefused()) {
        throw std::runtime_error("no time zone");
    }
    static const auto next = reinterpret_cast<void (*)(const ACE_Time_Value&, std::string&)>(
        ::dlsym(RTLD_NEXT,
                "_ZN13NS_BUNDLEMGR116GetZoneTimeStampERK14ACE_Time_ValueRNSt7__cxx1112"
                "basic_stringIcSt11char_traitsIcESaIcEEE"));
    next(time, stamp);
}

}  // namespace NS_BUNDLEMGR1
