// The form of the agent's configuration file.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>

#include "host/configfixture.h"
#include "support/capturedoutput.h"

using NS_TEST::CapturedOutput;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Item = NS_BUNDLEMGR1::NameValueStru;

namespace {

class ConfigFile : public NS_TEST::ConfigTest {
  protected:
    // Reports about lines would clutter the output of the tests that expect none.
    CapturedOutput errors_{STDERR_FILENO};
};

size_t CountLines(const std::string& text) {
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST_F(ConfigFile, HoldsNamesAndValues) {
    EXPECT_THAT(ItemsOf("logfilesize = 4194304\nlogswitch=1,1,0,0\n"),
                ElementsAre(Item{"logfilesize", "4194304"}, Item{"logswitch", "1,1,0,0"}));
    EXPECT_EQ(errors_.Text(), "");
}

TEST_F(ConfigFile, HoldsNothingWhenItIsEmptyOrMissing) {
    EXPECT_THAT(AllItems(), IsEmpty());
    EXPECT_THAT(ItemsOf(""), IsEmpty());
    EXPECT_EQ(errors_.Text(), "");
}

TEST_F(ConfigFile, DoesNotCountBlanksAroundNamesAndValues) {
    EXPECT_THAT(ItemsOf(" \tkey \t=\t a value \t\n"), ElementsAre(Item{"key", "a value"}));
}

TEST_F(ConfigFile, MayEndWithoutANewline) {
    EXPECT_THAT(ItemsOf("a = 1\nb = 2"), ElementsAre(Item{"a", "1"}, Item{"b", "2"}));
}

TEST_F(ConfigFile, MayHaveCarriageReturnsAndAByteOrderMark) {
    EXPECT_THAT(ItemsOf("\xEF\xBB\xBF"
                        "a = 1\r\n\r\nb = 2\r\n"),
                ElementsAre(Item{"a", "1"}, Item{"b", "2"}));
    EXPECT_EQ(errors_.Text(), "");
}

TEST_F(ConfigFile, SkipsCommentsAndEmptyLines) {
    EXPECT_THAT(ItemsOf("# a = 1\n\n  \t\n  # b = 2\nc = 3\n"), ElementsAre(Item{"c", "3"}));
    EXPECT_EQ(errors_.Text(), "");
}

TEST_F(ConfigFile, KeepsANumberSignAndFurtherEqualsSignsInAValue) {
    EXPECT_THAT(ItemsOf("a = 1 # one\nb = x=y=\n"),
                ElementsAre(Item{"a", "1 # one"}, Item{"b", "x=y="}));
}

TEST_F(ConfigFile, AllowsEmptyValues) {
    EXPECT_THAT(ItemsOf("a =\nb= \n"), ElementsAre(Item{"a", ""}, Item{"b", ""}));
    EXPECT_EQ(errors_.Text(), "");
}

TEST_F(ConfigFile, LetsTheLastOfEqualNamesWin) {
    EXPECT_THAT(ItemsOf("a = 1\nb = 2\na = 3\nA = 4\n"),
                ElementsAre(Item{"a", "3"}, Item{"b", "2"}, Item{"A", "4"}));
}

TEST_F(ConfigFile, ReportsEachBrokenLineAtEachReadingAndSkipsIt) {
    const std::string text = "a = 1\nno equals sign\n\n = no name\nb = 2\n";
    EXPECT_THAT(ItemsOf(text), ElementsAre(Item{"a", "1"}, Item{"b", "2"}));
    EXPECT_THAT(errors_.Text(), HasSubstr(file_ + ":2: no '='"));
    EXPECT_THAT(errors_.Text(), HasSubstr(file_ + ":4: no name"));
    EXPECT_EQ(CountLines(errors_.Text()), 2u);

    std::string value;
    EXPECT_TRUE(Store().GetStrItemInfo("a", value));
    EXPECT_EQ(CountLines(errors_.Text()), 2u);
    AllItems();
    EXPECT_EQ(CountLines(errors_.Text()), 4u);
}

// A line may hold a secret, so a report does not repeat it.
TEST_F(ConfigFile, DoesNotRepeatABrokenLineInItsReport) {
    ItemsOf("password s3cret\n");
    EXPECT_THAT(errors_.Text(), HasSubstr(":1:"));
    EXPECT_THAT(errors_.Text(), Not(HasSubstr("s3cret")));
}

TEST_F(ConfigFile, TakesVeryLongLines) {
    const std::string name(100'000, 'n');
    const std::string value(3'000'000, 'v');
    EXPECT_THAT(ItemsOf(name + " = " + value + "\nb = 2\n#" + value + "\n" + value + "\n"),
                ElementsAre(Item{name, value}, Item{"b", "2"}));
    EXPECT_THAT(errors_.Text(), HasSubstr(file_ + ":4: no '='"));
}

TEST_F(ConfigFile, TakesZeroBytesAsAnyOther) {
    const std::string zero(1, '\0');
    EXPECT_THAT(ItemsOf("a" + zero + " = 1" + zero + "2\n" + zero + "\nb = 2\n"),
                ElementsAre(Item{"a" + zero, "1" + zero + "2"}, Item{"b", "2"}));
    EXPECT_EQ(CountLines(errors_.Text()), 1u);
    int value = 7;
    EXPECT_FALSE(Store().GetIntItemInfo("a" + zero, value));
    EXPECT_EQ(value, 7);
}

}  // namespace
