#include "floors/recordtext.h"

#include <pthread.h>

#include <charconv>
#include <cstring>
#include <ctime>
#include <string_view>

#include "harness/sample.h"

namespace NS_BENCH {

namespace {

char* Append(char* at, std::string_view text) {
    std::memcpy(at, text.data(), text.size());
    return at + text.size();
}

template <class Number>
char* AppendNumber(char* at, Number number) {
    return std::to_chars(at, at + 24, number).ptr;
}

// The second's part of a time stamp and the zone's, which change once a second.
class SecondText {
  public:
    void Update(time_t second) {
        if (second == second_) {
            return;
        }
        second_ = second;
        tm local{};
        localtime_r(&second, &local);
        std::strftime(date_, sizeof date_, "%Y-%m-%dT%H:%M:%S.", &local);
        std::strftime(zone_, sizeof zone_, "%z", &local);
        std::memmove(zone_ + 4, zone_ + 3, 2);
        zone_[3] = ':';
    }

    std::string_view Date() const { return {date_, 20}; }
    std::string_view Zone() const { return {zone_, 6}; }

  private:
    time_t second_ = -1;
    char date_[32] = {};
    char zone_[16] = {};
};

char* AppendTime(char* at) {
    thread_local SecondText text;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    text.Update(now.tv_sec);
    at = Append(at, text.Date());
    long microseconds = now.tv_nsec / 1000;
    for (int i = 5; i >= 0; --i) {
        at[i] = static_cast<char>('0' + microseconds % 10);
        microseconds /= 10;
    }
    return Append(at + 6, text.Zone());
}

}  // namespace

char* WriteRecordBody(char* at, int number) {
    thread_local const auto thread = static_cast<long>(pthread_self());
    at = AppendTime(at);
    at = Append(Append(at, ", "), kContext);
    at = AppendNumber(Append(at, ", T:"), thread);
    at = AppendNumber(Append(at, ", DL:"), 1);
    at = Append(Append(at, ", File: "), kFile);
    at = Append(Append(at, " Func:"), kFunction);
    at = AppendNumber(Append(at, " Line:"), kLine);
    at = AppendNumber(Append(at, "\n Detail: "), number);
    at = Append(Append(at, " network elements answered "), kAnswer);
    at = std::to_chars(Append(at, " after "), at + 64, kSeconds, std::chars_format::fixed, 3).ptr;
    return Append(at, " s\n");
}

char* WriteTags(char* buffer, size_t& size, uint32_t number) {
    char digits[24];
    const size_t count = static_cast<size_t>(AppendNumber(digits, number) - digits);
    char* const begin = buffer + kTagSize - count - 3;
    Append(AppendNumber(Append(begin, "<"), number), ">\n");
    char* const end = Append(AppendNumber(Append(buffer + kTagSize + size, "</"), number), ">\n\n");
    size = static_cast<size_t>(end - begin);
    return begin;
}

}  // namespace NS_BENCH
