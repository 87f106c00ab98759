// The utility library's functions on texts, paths and the environment.
#include "util/selfutilcommon.h"

#include <gmock/gmock.h>

#include "support/environment.h"

using NS_UTIL::PathFormat;
using NS_UTIL::SelfUtilCommon;
using NS_UTIL::SplitStringByTag;
using NS_UTIL::Trim;
using namespace testing;

namespace {

TEST(Environment, GivesTheValueOfAVariableOrAnEmptyText) {
    NS_TEST::ScopedVariable variable("QV_TEST_VARIABLE", "a value");
    EXPECT_EQ(SelfUtilCommon::getEnvValue("QV_TEST_VARIABLE"), "a value");
    variable.Set("");
    EXPECT_EQ(SelfUtilCommon::getEnvValue("QV_TEST_VARIABLE"), "");
    variable.Set(std::nullopt);
    EXPECT_EQ(SelfUtilCommon::getEnvValue("QV_TEST_VARIABLE"), "");
}

TEST(PathFormat, MakesOneSlashOfEveryRunOfSeparatorsAndDropsThoseAtTheEnd) {
    const std::pair<const char*, const char*> cases[] = {
        {"/opt/share/conf", "/opt/share/conf"},
        {"relative/path", "relative/path"},
        {"", ""},
        {"C:\\share\\conf", "C:/share/conf"},
        {"//opt///share\\\\/conf", "/opt/share/conf"},
        {"/opt/share/", "/opt/share"},
        {"share\\//", "share"},
        {"/", "/"},
        {"\\\\//", "/"},
        {"./a/../b/.", "./a/../b/."}};  // dots are not resolved
    for (const auto& [path, formatted] : cases) {
        std::string text = path;
        PathFormat(text);
        EXPECT_EQ(text, formatted);
    }
}

TEST(Trim, TakesBlanksFromBothEndsOnly) {
    const std::pair<std::string, std::string> cases[] = {
        {" \t\r\n1, 0\t 1\n\r\t ", "1, 0\t 1"},
        {"text", "text"},
        {"", ""},
        {" \t\r\n", ""},
        {"\v\f", "\v\f"},
        {std::string(" \0 ", 3), std::string("\0", 1)}};
    for (const auto& [text, trimmed] : cases) {
        EXPECT_EQ(Trim(text), trimmed);
    }
}

TEST(Splitting, CutsAtEachSeparatorAndLeavesEmptyPiecesOutOnDemand) {
    struct Case {
        const char* source;
        unsigned long long flags;
        std::vector<std::string> parts;
    };
    const std::vector<Case> cases = {
        {"1,1,0,0", 0, {"1", "1", "0", "0"}},
        {"whole", 0, {"whole"}},
        {"1,,0", 0, {"1", "", "0"}},
        {",1,", 0, {"", "1", ""}},
        {",", 0, {"", ""}},
        {",1,,0,", 1, {"1", "0"}},
        {"1,,0", 0xFFFE, {"1", "", "0"}}};  // the other flags mean nothing
    std::vector<std::string> parts = {"old"};
    for (const auto& [source, flags, expected] : cases) {
        EXPECT_TRUE(SplitStringByTag(source, parts, ',', std::bitset<16>(flags)));
        EXPECT_EQ(parts, expected) << source;
    }
    EXPECT_FALSE(SplitStringByTag("", parts, ',', {}));
    EXPECT_THAT(parts, IsEmpty());
}

TEST(Splitting, TakesItsSourceFromTheListItReplaces) {
    std::vector<std::string> parts = {"a piece that is long enough to be stored apart,b"};
    EXPECT_TRUE(SplitStringByTag(parts[0], parts, ',', {}));
    EXPECT_THAT(parts, ElementsAre("a piece that is long enough to be stored apart", "b"));
}

}  // namespace
