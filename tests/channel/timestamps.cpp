#include "channel/timestamps.h"

#include <dlfcn.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <utility>

#include "bundlemgr/logsupport.h"

namespace {

std::atomic<long> g_stampsLeft{-1};
std::atomic<std::vector<int64_t>*> g_rendered{nullptr};

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

RenderedTimes::RenderedTimes() {
    g_rendered = &times_;
}

RenderedTimes::~RenderedTimes() {
    g_rendered = nullptr;
}

std::vector<int64_t> RenderedTimes::Take() {
    return std::exchange(times_, {});
}

}  // namespace NS_TEST

namespace NS_BUNDLEMGR1 {

// In place of the platform's, for a service that is linked into the program statically.
void GetZoneTimeStamp(const ACE_Time_Value& time, std::string& stamp) {
    if (IsRefused()) {
        throw std::runtime_error("no time zone");
    }
    if (std::vector<int64_t>* const rendered = g_rendered) {
        rendered->push_back(time.usec());
    }
    static const auto next = reinterpret_cast<void (*)(const ACE_Time_Value&, std::string&)>(
        ::dlsym(RTLD_NEXT,
                "_ZN13NS_BUNDLEMGR116GetZoneTimeStampERK14ACE_Time_ValueRNSt7__cxx1112"
                "basic_stringIcSt11char_traitsIcESaIcEEE"));
    next(time, stamp);
}

}  // namespace NS_BUNDLEMGR1
