// Formats of one conversion with fitting values, for comparing two formatters.
#pragma once

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>

namespace NS_TEST {

// The same seed gives the same formats.
class RandomFormats {
  public:
    explicit RandomFormats(uint64_t seed) : random_(seed) {}

    // Calls `use` with the next format and its values.
    template <class Use>
    void Next(Use use) {
        std::string format = "a%";
        format += Choice({"", "", "", "-", "+", " ", "0", "-0", "+0", "- ", "#"});
        const bool starWidth = Size(format, 40);
        bool starPrecision = false;
        if (Below(3) == 0) {
            format += ".";
            starPrecision = Size(format, 35);
        }
        const int width = static_cast<int>(Below(40)) - 20;
        const int precision = static_cast<int>(Below(40)) - 8;
        const auto with = [&](const std::string& conversion, auto value) {
            const std::string whole = format + conversion + "b";
            if (starWidth && starPrecision) {
                use(whole.c_str(), width, precision, value);
            } else if (starWidth || starPrecision) {
                use(whole.c_str(), starWidth ? width : precision, value);
            } else {
                use(whole.c_str(), value);
            }
        };
        switch (Below(6)) {
            case 0:
                with(Choice({"", "h", "hh"}) + Integer(), static_cast<int>(Number()));
                break;
            case 1:
                with(Choice({"l", "ll", "z", "j", "t"}) + Integer(), Number());
                break;
            case 2: {
                const std::string text(Below(30), 'x');
                with("s", text.c_str());
                break;
            }
            case 3:
                Below(2) == 0 ? with("c", static_cast<int>(Below(256)))
                              : with("p", reinterpret_cast<const void*>(Number()));
                break;
            default:
                with(Choice({"f", "e", "g"}), Double());
        }
    }

  private:
    uint64_t Below(uint64_t limit) { return random_() % limit; }

    std::string Choice(std::initializer_list<const char*> choices) {
        return choices.begin()[Below(choices.size())];
    }

    // Digits, or an asterisk: true.
    bool Size(std::string& format, uint64_t limit) {
        if (Below(3) != 0) {
            return false;
        }
        if (Below(4) == 0) {
            format += "*";
            return true;
        }
        format += std::to_string(Below(limit));
        return false;
    }

    std::string Integer() { return Choice({"d", "i", "u", "x", "X"}); }

    long Number() {
        if (Below(30) == 0) {
            return Below(2) == 0 ? LONG_MIN : 0;
        }
        const auto magnitude = static_cast<long>(random_() >> Below(64));
        return Below(2) == 0 ? magnitude : static_cast<long>(0 - static_cast<uint64_t>(magnitude));
    }

    double Double() {
        const uint64_t bits = random_();
        double value = 0;
        switch (Below(5)) {
            case 0:
                std::memcpy(&value, &bits, sizeof value);
                break;
            case 1:
                value = static_cast<double>(Number()) / 1000;
                break;
            case 2:  // exact halves and eighths
                value = static_cast<double>(bits % 2'000'001) / 8;
                break;
            case 3:
                value = static_cast<double>(bits % 100'000) * 0.0005;
                break;
            default:
                value =
                    std::ldexp(static_cast<double>(bits >> 11), static_cast<int>(Below(120)) - 110);
        }
        return Below(2) == 0 ? value : -value;
    }

    std::mt19937_64 random_;
};

}  // namespace NS_TEST
