// The promise of the line feed: every line of the input becomes a record, in order.
#include <gmock/gmock.h>

#include <random>

#include "agent/agentfixture.h"
#include "bundlemgr/logsupport.h"
#include "support/repetitions.h"

namespace {

using namespace testing;

// What a line of the input looks like in the log: zero bytes shown by their sign, and then what is
// no UTF-8 in the platform's readable form.
std::string Shown(const std::string& line) {
    std::string text;
    size_t begin = 0;
    for (size_t zero; (zero = line.find('\0', begin)) != std::string::npos; begin = zero + 1) {
        text.append(line, begin, zero - begin).append("\u2400");
    }
    text.append(line, begin);
    std::string converted;
    return NS_BUNDLEMGR1::Convert2UTFforLog(text, converted);
}

class LineFeed : public NS_TEST::AgentTest {
  protected:
    // Feeds the lines, joined by newlines, and expects them back; with `end` behind the last one.
    void ExpectEveryLine(const std::vector<std::string>& lines, const std::string& end,
                         const std::vector<std::string>& options = {},
                         const std::string& category = "corbaoper", int level = 1) {
        std::string input;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            input += (i == 0 ? "" : "\n") + lines[i];
        }
        const auto result = RunWith(input + end, options);
        ASSERT_EQ(result.exitCode, 0) << result.errors;
        const auto records = Records(category);
        ASSERT_EQ(records.size(), lines.size());
        for (std::size_t i = 0; i < lines.size(); ++i) {
            ASSERT_EQ(records[i].record.detail, Shown(lines[i])) << "line " << i + 1;
            ASSERT_EQ(records[i].record.level, level);
            if (level != -2) {
                ASSERT_EQ(records[i].number, i + 1);
                ASSERT_EQ(records[i].record.line, std::to_string(i + 1));
            }
        }
    }
};

const std::vector<std::string> kPlain = {"first", "second", "third"};

TEST_F(LineFeed, LogsALastLineWithoutANewline) {
    ExpectEveryLine(kPlain, "");
}

TEST_F(LineFeed, LogsEmptyLinesAndKeepsCarriageReturnsAndBlanks) {
    ExpectEveryLine({"", "", "a", "", "dos\r", "\r", "  \t both \v ends\f ", "\r\r", ""}, "\n");
}

TEST_F(LineFeed, ShowsZeroBytesAndReplacesBytesThatAreNoTextAndLosesNothingBehindThem) {
    using namespace std::string_literals;
    ASSERT_EQ(RunWith("a\0b\0\0c\n\0\na\xFFz\nfine \u20AC\n\xE2\x82\nend\0"s, {}).exitCode, 0);
    EXPECT_THAT(Details("corbaoper"), ElementsAre("a\u2400b\u2400\u2400c", "\u2400", "a\uFFFDz",
                                                  "fine \u20AC", "\uFFFD", "end\u2400"));
}

TEST_F(LineFeed, TakesConversionsAndFramesForText) {
    ExpectEveryLine({"%s %n %d %%", "<1>", "</2>", "</3>", "File close at now.", " Detail: x",
                     "*********** Dump filtered debug information end **********", "a,b\\n"},
                    "\n");
}

TEST_F(LineFeed, LogsLongLinesWhole) {
    ExpectEveryLine({std::string(1 << 20, 'a'), "short", std::string(5000000, 'b') + "\r",
                     std::string(256 * 1024, 'c'), std::string(256 * 1024 - 1, 'd'), "",
                     std::string(300000, '\0')},
                    "\n");
}

TEST_F(LineFeed, LogsManyLines) {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < static_cast<std::size_t>(NS_TEST::Repetitions(100000)); ++i) {
        lines.push_back("line " + std::to_string(i) + std::string(i % 97, '.'));
    }
    ExpectEveryLine(lines, "\n");
}

TEST_F(LineFeed, LogsRandomBytes) {
    std::mt19937 random(20240305);  // the same bytes in every run
    std::vector<std::string> lines(1);
    for (int i = 0; i < NS_TEST::Repetitions(2000000); ++i) {
        const auto byte = static_cast<char>(random() & 0xFF);
        if (byte == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += byte;
        }
    }
    ExpectEveryLine(lines, "\n");
}

TEST_F(LineFeed, LogsIntoEachCategory) {
    for (const std::string& category : NS_TEST::kCategories) {
        ExpectEveryLine(kPlain, "\n", {"--category", category}, category);
    }
}

TEST_F(LineFeed, LogsWithTheLevelAskedFor) {
    const std::vector<std::pair<int, const char*>> levels = {
        {-2, "corbaoper"}, {-1, "debug"}, {0, "corbadebug"}, {2, "corbasys"}, {3, "corbanotify"}};
    for (const auto& [level, category] : levels) {
        ExpectEveryLine(kPlain, "\n", {"--level", std::to_string(level), "--category", category},
                        category, level);
    }
}

TEST_F(LineFeed, WritesADumpForEachLineOfLevelZero) {
    ASSERT_EQ(RunWith("a\nb\n", {"--level", "0"}).exitCode, 0);
    const auto records = Records("corbaoper");
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].kind, NS_TEST::ParsedPiece::DUMP);
    EXPECT_EQ(records[1].kind, NS_TEST::ParsedPiece::DUMP);
}

TEST_F(LineFeed, SaysWhenTheLevelIsSwitchedOff) {
    Configure("bundles = qv_base_log\nlogswitch = 1,0,1,1\n");
    const auto result = RunWith("a\n", {});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errors, HasSubstr("level 1 is switched off"));
    EXPECT_TRUE(Records("corbaoper").empty());
}

TEST_F(LineFeed, RefusesAnUnknownCategoryAndUnknownArgumentsByName) {
    Configure("bundles = qv_base_log\nqv_line_feed.arguments = --category CorbaOper\n");
    const auto category = RunWith("a\n", {});
    EXPECT_EQ(category.exitCode, 5);
    EXPECT_THAT(category.errors, HasSubstr("there is no log category 'CorbaOper'"));
    Configure("bundles = qv_base_log\nqv_line_feed.arguments = --colour red\n");
    const auto argument = RunWith("a\n", {});
    EXPECT_EQ(argument.exitCode, 5);
    EXPECT_THAT(argument.errors, HasSubstr("--colour"));
}

TEST_F(LineFeed, NamesTheInputInItsRecords) {
    ASSERT_EQ(RunWith("a\n", {}).exitCode, 0);
    const NS_TEST::ParsedRecord record = OnlyRecord("corbaoper");
    EXPECT_EQ(record.file, "stdin");
    EXPECT_EQ(record.function, "LineFeed");
    EXPECT_EQ(record.context, "line-feed,TopT:1,If:LineFeed,UserMsg:stdin");
}

}  // namespace
