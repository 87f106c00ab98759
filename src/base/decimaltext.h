// The digits of a number.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace NS_LOG_SERVICE1 {

// Keeps the digits of the last number. They serve the same number again, and the next one after a
// change of the last digit, unless that is 9. A thread's number has 15 digits and is the same for
// many records; the numbers of records follow each other.
//
// Thread safety: none.
class DecimalText {
  public:
    // Valid until the next call.
    std::string_view Of(int64_t number) {
        if (number != number_) {
            char& last = digits_[size_ - 1];
            if (number > 0 && number - 1 == number_ && last != '9') {
                ++last;
            } else {
                Make(number);
            }
            number_ = number;
        }
        return {digits_, size_};
    }

  private:
    // Not inlined: seldom called, and large.
    __attribute__((noinline)) void Make(int64_t number) {
        const char* const end = std::to_chars(digits_, digits_ + sizeof digits_, number).ptr;
        size_ = static_cast<size_t>(end - digits_);
    }

    int64_t number_ = 0;
    size_t size_ = 1;
    char digits_[std::numeric_limits<int64_t>::digits10 + 2] = {'0'};
};

}  // namespace NS_LOG_SERVICE1
