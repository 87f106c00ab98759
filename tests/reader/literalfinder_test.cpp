#include "input/literalfinder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace {

using namespace NS_LOG_READER;

TEST(LiteralFinder, FindsWhatASearchByteByByteFinds) {
    std::mt19937 random(1);
    const auto text = [&](size_t size) {
        std::string result(size, ' ');
        for (char& character : result) {
            character = "abAB"[random() % 4];
        }
        return result;
    };
    for (int i = 0; i < 20000; ++i) {
        const std::string block = text(random() % 200);
        const std::string wanted = text(1 + random() % 7);
        for (const bool ignoreCase : {false, true}) {
            const LiteralFinder finder(wanted, ignoreCase);
            LiteralFinder elsewhere = finder;
            elsewhere.AvoidAvx2();
            const char* expected = nullptr;
            for (size_t at = 0; at + wanted.size() <= block.size() && expected == nullptr; ++at) {
                const char* const place = block.data() + at;
                const bool fits = ignoreCase
                                      ? strncasecmp(place, wanted.data(), wanted.size()) == 0
                                      : std::memcmp(place, wanted.data(), wanted.size()) == 0;
                expected = fits ? place : nullptr;
            }
            ASSERT_EQ(finder.Find(block.data(), block.data() + block.size()), expected)
                << wanted << " in " << block;
            ASSERT_EQ(elsewhere.Find(block.data(), block.data() + block.size()), expected)
                << wanted << " in " << block;
        }
    }
}

}  // namespace
