// The utility library's functions on texts, paths and the environment.
#include "util/selfutilcommon.h"

#include <gmock/gmock.h>

#include "support/environment.h"

using NS_UTIL::PathFormat;
using NS_UTIL::SelfUtilCommon;
using NS_UTIL::SplitStringByTag;
using NS_UTIL::Trim;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string Formatted(std::string path) {
    PathFormat(path);
    return path;
}

TEST(Environment, GivesTheValueOfAVariable) {
    const NS_TEST::ScopedVariable variable("QV_TEST_VARIABLE", "a value");
    EXPECT_EQ(SelfUtilCommon::getEnvValue("QV_TEST_VARIABLE"), "a value");
}

TEST(Environment, GivesAnEmptyTextForAVariableThatIsNotSet) {
    NS_TEST::ScopedVariable variable("QV_TEST_VARIABLE", std::nullopt);
    EXPECT_EQ(SelfUtilCommon::getEnvValue("QV_TEST_VARIABLE"), "");
    variable.Set("");
    EXPECT_EQ(SelfUtilCommon::getEnvValue("QV_TEST_VARIABLE"), "");
}

TEST(PathFormat, LeavesANormalPathAlone) {
    EXPECT_EQ(Formatted("/opt/share/conf"), "/opt/share/conf");
    EXPECT_EQ(Formatted("relative/path"), "relative/path");
    EXPECT_EQ(Formatted(""), "");
}

TEST(PathFormat, MakesOneSlashOfEveryRunOfSeparators) {
    EXPECT_EQ(Formatted("C:\\share\\conf"), "C:/share/conf");
    EXPECT_EQ(Formatted("//opt///share\\\\/conf"), "/opt/share/conf");
}

TEST(PathFormat, DropsSeparatorsAtTheEndButForTheRoot) {
    EXPECT_EQ(Formatted("/opt/share/"), "/opt/share");
    EXPECT_EQ(Formatted("share\\//"), "share");
    EXPECT_EQ(Formatted("/"), "/");
    EXPECT_EQ(Formatted("\\\\//"), "/");
}

TEST(PathFormat, DoesNotResolveDots) {
    EXPECT_EQ(Formatted("./a/../b/."), "./a/../b/.");
}

TEST(Trim, TakesBlanksFromBothEndsOnly) {
    EXPECT_EQ(Trim(" \t\r\n1, 0\t 1\n\r\t "), "1, 0\t 1");
    EXPECT_EQ(Trim("text"), "text");
}

TEST(Trim, LeavesNothingOfBlanks) {
    EXPECT_EQ(Trim(""), "");
    EXPECT_EQ(Trim(" \t\r\n"), "");
}

TEST(Trim, KeepsOtherControlCharacters) {
    EXPECT_EQ(Trim("\v\f"), "\v\f");
    EXPECT_EQ(Trim(std::string(" \0 ", 3)), std::string("\0", 1));
}

TEST(Splitting, CutsAtEachSeparator) {
    std::vector<std::string> parts = {"old"};
    EXPECT_TRUE(SplitStringByTag("1,1,0,0", parts, ',', {}));
    EXPECT_THAT(parts, ElementsAre("1", "1", "0", "0"));
    EXPECT_TRUE(SplitStringByTag("whole", parts, ',', {}));
    EXPECT_THAT(parts, ElementsAre("whole"));
}

TEST(Splitting, CountsEmptyPieces) {
    std::vector<std::string> parts;
    EXPECT_TRUE(SplitStringByTag("1,,0", parts, ',', {}));
    EXPECT_THAT(parts, ElementsAre("1", "", "0"));
    EXPECT_TRUE(SplitStringByTag(",1,", parts, ',', {}));
    EXPECT_THAT(parts, ElementsAre("", "1", ""));
    EXPECT_TRUE(SplitStringByTag(",", parts, ',', {}));
    EXPECT_THAT(parts, ElementsAre("", ""));
}

TEST(Splitting, LeavesEmptyPiecesOutOnDemand) {
    std::vector<std::string> parts;
    EXPECT_TRUE(SplitStringByTag(",1,,0,", parts, ',', std::bitset<16>(1)));
    EXPECT_THAT(parts, ElementsAre("1", "0"));
}

TEST(Splitting, IgnoresTheOtherFlags) {
    std::vector<std::string> parts;
    EXPECT_TRUE(SplitStringByTag("1,,0", parts, ',', std::bitset<16>(0xFFFE)));
    EXPECT_THAT(parts, ElementsAre("1", "", "0"));
}

TEST(Splitting, FailsOnAnEmptySource) {
    std::vector<std::string> parts = {"old"};
    EXPECT_FALSE(SplitStringByTag("", parts, ',', {}));
    EXPECT_THAT(parts, IsEmpty());
}

TEST(Splitting, TakesItsSourceFromTheListItReplaces) {
    std::vector<std::string> parts = {"a piece that is long enough to be stored apart,b"};
    EXPECT_TRUE(SplitStringByTag(parts[0], parts, ',', {}));
    EXPECT_THAT(parts, ElementsAre("a piece that is long enough to be stored apart", "b"));
}

}  // namespace
