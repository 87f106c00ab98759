// The form of the agent's configuration file.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>

#include "host/configfixture.h"
#include "support/capturedoutput.h"

using NS_TEST::CapturedOutput;
using namespace testing;
using Item = NS_BUNDLEMGR1::NameValueStru;

namespace {

class ConfigFile : public NS_TEST::ConfigTest {
  protected:
    // Reports about lines would clutter the output of the tests that expect none.
    CapturedOutput errors_{STDERR_FILENO};
    size_t Reports() const { return NS_TEST::SplitText(errors_.Text()).size(); }
};

TEST_F(ConfigFile, HoldsNamesAndValues) {
    EXPECT_THAT(AllItems(), IsEmpty()) << "there is no file";
    const std::pair<const char*, Items> cases[] = {
        {"", {}},
        {"size = 4194304\nlogswitch=1,1,0,0\n", {{"size", "4194304"}, {"logswitch", "1,1,0,0"}}},
        {" \tkey \t=\t a value \t\n", {{"key", "a value"}}},
        // A byte order mark and carriage returns.
        {"\xEF\xBB\xBF\x61 = 1\r\n\r\nb = 2\r\n", {{"a", "1"}, {"b", "2"}}},
        {"# a = 1\n\n  \t\n  # b = 2\nc = 3\n", {{"c", "3"}}},
        {"a = 1 # one\nb = x=y=\n", {{"a", "1 # one"}, {"b", "x=y="}}},
        {"a =\nb= \n", {{"a", ""}, {"b", ""}}},
        // The last of equal names wins.
        {"a = 1\nb = 2\na = 3\nA = 4\n", {{"a", "3"}, {"b", "2"}, {"A", "4"}}}};
    for (const auto& [text, items] : cases) {
        std::filesystem::remove_all(Path("conf"));
        EXPECT_EQ(ItemsOf(text), items) << text;
    }
    EXPECT_EQ(errors_.Text(), "");
}

TEST_F(ConfigFile, ReportsEachBrokenLineAtEachReadingAndSkipsIt) {
    const std::string text = "a = 1\npassword s3cret\n\n = no name\nb = 2\n";
    EXPECT_THAT(ItemsOf(text), ElementsAre(Item{"a", "1"}, Item{"b", "2"}));
    EXPECT_THAT(errors_.Text(), HasSubstr(file_ + ":2: no '='"));
    EXPECT_THAT(errors_.Text(), HasSubstr(file_ + ":4: no name"));
    EXPECT_EQ(Reports(), 2u);
    EXPECT_THAT(errors_.Text(), Not(HasSubstr("s3cret"))) << "a line may hold a secret";

    std::string value;
    EXPECT_TRUE(Store().GetStrItemInfo("a", value));
    EXPECT_EQ(Reports(), 2u);
    AllItems();
    EXPECT_EQ(Reports(), 4u);
}

// A file that was put there by mistake must not fill the journal.
TEST_F(ConfigFile, ReportsTenBrokenLinesAndCountsTheOthers) {
    const std::pair<size_t, const char*> cases[] = {{10, ":10: no '=', the line is skipped\n"},
                                                    {11, ": 1 more line is skipped\n"},
                                                    {20'000, ": 19990 more lines are skipped\n"}};
    for (const auto& [lines, last] : cases) {
        const CapturedOutput errors(STDERR_FILENO);
        std::string text;
        for (size_t i = 0; i < lines; ++i) {
            text += "x\n";
        }
        EXPECT_THAT(ItemsOf(text + "a = 1\n"), ElementsAre(Item{"a", "1"}));
        EXPECT_THAT(errors.Text(), EndsWith(file_ + last));
        EXPECT_THAT(NS_TEST::SplitText(errors.Text()), SizeIs(std::min<size_t>(lines, 11)));
    }
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
    EXPECT_EQ(Reports(), 1u);
    int value = 7;
    EXPECT_FALSE(Store().GetIntItemInfo("a" + zero, value));
    EXPECT_EQ(value, 7);
}

}  // namespace
