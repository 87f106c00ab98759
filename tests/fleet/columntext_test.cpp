#include "store/columntext.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace NS_LOG_FLEET;

TEST(ColumnText, LeavesTextsOfCharactersAlone) {
    EXPECT_EQ(ColumnText(""), "");
    EXPECT_EQ(ColumnText("opr1@192.0.2.7"), "opr1@192.0.2.7");
    EXPECT_EQ(ColumnText("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\n\x01"),
              "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\n\x01");
}

TEST(ColumnText, ReplacesWhatADatabaseRefuses) {
    const std::string unknown = "\xEF\xBF\xBD";
    EXPECT_EQ(ColumnText(std::string("a\0b", 3)),
              "a\xE2\x90\x80"
              "b");
    EXPECT_EQ(ColumnText("a\xFF"), "a" + unknown);
    EXPECT_EQ(ColumnText("\xC3"), unknown);                              // an end without its rest
    EXPECT_EQ(ColumnText("\xC0\xAF"), unknown + unknown);                // longer than it need be
    EXPECT_EQ(ColumnText("\xED\xA0\x80"), unknown + unknown + unknown);  // half of a pair
    EXPECT_EQ(ColumnText("\xF4\x90\x80\x80"), unknown + unknown + unknown + unknown);
}

TEST(ColumnText, CutsWhereACharacterEnds) {
    const std::string text(kLongestColumnText - 1, 'x');
    EXPECT_EQ(ColumnText(text + "yz"), text + "y");
    EXPECT_EQ(ColumnText(text + "\xC3\xA4"), text);
}

}  // namespace
