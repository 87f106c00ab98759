// What the operator gets to see.
#include "agentctl/views.h"

#include <gmock/gmock.h>

#include "agentctl/table.h"
#include "agentctl/terminaltext.h"
#include "control/answer.h"
#include "support/environment.h"

namespace {

using NS_REFERENCE_HOST::CountCharacters;
using NS_REFERENCE_HOST::EscapeForTerminal;
using NS_REFERENCE_HOST::ReadJsonObject;
using NS_REFERENCE_HOST::ReplaceInvalidUtf8;
using NS_REFERENCE_HOST::Table;
using NS_REFERENCE_HOST::ViewLoggers;
using NS_REFERENCE_HOST::ViewModule;
using NS_REFERENCE_HOST::ViewModules;
using NS_REFERENCE_HOST::ViewStatus;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(TerminalText, LeavesReadableTextAsItIs) {
    EXPECT_EQ(EscapeForTerminal("", true), "");
    EXPECT_EQ(EscapeForTerminal("plain text, 7!", true), "plain text, 7!");
    EXPECT_EQ(EscapeForTerminal("Grüße 日本 😀", true), "Grüße 日本 😀");
}

TEST(TerminalText, EscapesWhatATerminalObeys) {
    EXPECT_EQ(EscapeForTerminal("a\x1b[2Jb", true), "a\\x1b[2Jb");
    EXPECT_EQ(EscapeForTerminal("a\nb\tc\rd\x07", true), "a\\nb\\tc\\x0dd\\x07");
    EXPECT_EQ(EscapeForTerminal(std::string("a\0b", 3), true), "a\\x00b");
    EXPECT_EQ(EscapeForTerminal("\x7f", true), "\\x7f");
    EXPECT_EQ(EscapeForTerminal("\xc2\x9b"
                                "2J",
                                true),
              "\\xc2\\x9b2J");  // a control character of two bytes
}

TEST(TerminalText, EscapesWhatMisleadsTheEye) {
    EXPECT_EQ(EscapeForTerminal("a\u202eb", true), "a\\xe2\\x80\\xaeb");  // turns the direction
    EXPECT_EQ(EscapeForTerminal("a\u200bb", true), "a\\xe2\\x80\\x8bb");  // has no width
    EXPECT_EQ(EscapeForTerminal("a\u2028b", true), "a\\xe2\\x80\\xa8b");  // ends the line
    EXPECT_EQ(EscapeForTerminal("a\u2067b", true), "a\\xe2\\x81\\xa7b");
}

TEST(TerminalText, ABackslashIsTwoSoThatEscapesCannotBeFaked) {
    EXPECT_EQ(EscapeForTerminal("a\\x1b", true), "a\\\\x1b");
}

TEST(TerminalText, EscapesBytesThatAreNoCharacters) {
    EXPECT_EQ(EscapeForTerminal("a\xff", true), "a\\xff");
    EXPECT_EQ(EscapeForTerminal("\xc3", true), "\\xc3");                             // cut off
    EXPECT_EQ(EscapeForTerminal("\xc0\xaf", true), "\\xc0\\xaf");                    // too long
    EXPECT_EQ(EscapeForTerminal("\xed\xa0\x80", true), "\\xed\\xa0\\x80");           // half a pair
    EXPECT_EQ(EscapeForTerminal("\xf4\x90\x80\x80", true), "\\xf4\\x90\\x80\\x80");  // too high
    EXPECT_EQ(EscapeForTerminal("\xe2\x82z", true), "\\xe2\\x82z");
}

TEST(TerminalText, OnATerminalWithoutUtf8OnlyAsciiIsReadable) {
    EXPECT_EQ(EscapeForTerminal("ü", false), "\\xc3\\xbc");
    EXPECT_EQ(EscapeForTerminal("u", false), "u");
}

TEST(TerminalText, InvalidBytesAreReplacedForJson) {
    EXPECT_EQ(ReplaceInvalidUtf8("a\xff\xc3ü"), "a\uFFFD\uFFFDü");
    EXPECT_EQ(ReplaceInvalidUtf8("fine"), "fine");
}

TEST(TerminalText, CountsCharactersNotBytes) {
    EXPECT_EQ(CountCharacters("Grüße"), 5U);
    EXPECT_EQ(CountCharacters(""), 0U);
}

TEST(ControlTable, AlignsItsColumns) {
    Table table;
    table.AddColumn("NAME", Table::Align::Left);
    table.AddColumn("N", Table::Align::Right);
    table.AddColumn("REST", Table::Align::Left);
    table.AddRow({"ü", "100", "x"});
    table.AddRow({"longer", "7", ""});
    EXPECT_EQ(table.Render(),
              "NAME      N  REST\n"
              "ü       100  x\n"
              "longer    7\n");
}

TEST(ControlTable, WithoutRowsHasItsTitles) {
    Table table;
    table.AddColumn("A", Table::Align::Left);
    EXPECT_EQ(table.Render(), "A\n");
}

std::string Status(const std::string& output, const std::string& error) {
    return R"({"mode":)" + output +
           R"(,"channels":[{"category":"corbaoper","currentFile":"/log/x.log",)"
           R"("recordsWritten":1,"recordsDumped":2,"recordsDropped":3,"recordsEvicted":4,)"
           R"("recordsQueued":5,"recordsQueuedMost":6,"recordsCached":7,"bytesWritten":123456,)"
           R"("rotations":9,)" +
           error + "}]}";
}

constexpr char kNoError[] = R"("lastError":0,"lastErrorText":"","lastErrorTime":0)";

TEST(ControlViews, StatusIsATableOfChannels) {
    EXPECT_EQ(
        ViewStatus(ReadJsonObject(Status(R"(0,"periodic":false)", kNoError)), true),
        "output: direct (mode 0)\n"
        "CATEGORY   WRITTEN  DUMPED  DROPPED  EVICTED  QUEUED  MOST  CACHED   BYTES  ROTATIONS"
        "  FILE\n"
        "corbaoper        1       2        3        4       5     6       7  123456          9"
        "  /log/x.log\n");
}

TEST(ControlViews, StatusTellsWhetherQueuesAreWrittenPeriodically) {
    EXPECT_THAT(ViewStatus(ReadJsonObject(Status(R"(1,"periodic":true)", kNoError)), true),
                HasSubstr("queued (mode 1), written out periodically\n"));
    EXPECT_THAT(ViewStatus(ReadJsonObject(Status(R"(1,"periodic":false)", kNoError)), true),
                HasSubstr("not written out periodically"));
}

TEST(ControlViews, StatusExplainsTheLastErrorWithItsLocalTime) {
    const NS_TEST::ScopedTimeZone zone(NS_TEST::BERLIN);
    const std::string error =
        R"("lastError":28,"lastErrorText":"No space left","lastErrorTime":1700000000)";
    EXPECT_THAT(ViewStatus(ReadJsonObject(Status(R"(0,"periodic":false)", error)), true),
                HasSubstr("\nlast error: corbaoper: No space left (errno 28) at "
                          "2023-11-14 23:13:20 +0100\n"));
    EXPECT_THAT(ViewStatus(ReadJsonObject(Status(R"(0,"periodic":false)", kNoError)), true),
                Not(HasSubstr("last error")));
}

TEST(ControlViews, LoggersAreShownWithTheirNamesEscaped) {
    const std::string data = R"({"loggers":[{"first":"a\u001b[2J","second":"b","category":"debug",)"
                             R"("levels":[true,false,true,false]}]})";
    EXPECT_EQ(ViewLoggers(ReadJsonObject(data), true),
              "FIRST     SECOND  CATEGORY  0   1    2   3\n"
              "a\\x1b[2J  b       debug     on  off  on  off\n");
}

TEST(ControlViews, ModulesAreShownByNumber) {
    EXPECT_EQ(ViewModules(ReadJsonObject(
                              R"({"modules":[{"module":7,"on":false},{"module":10,"on":true}]})"),
                          true),
              "MODULE  SWITCH\n"
              "     7  off\n"
              "    10  on\n");
    EXPECT_EQ(ViewModules(ReadJsonObject(R"({"modules":[]})"), true),
              "no module switch was set; all modules are on\n");
    EXPECT_EQ(ViewModule(ReadJsonObject(R"({"module":7,"on":true})"), true), "module 7 is on\n");
}

TEST(ControlViews, DataOfAnotherFormIsAnError) {
    EXPECT_ANY_THROW(ViewStatus(ReadJsonObject(R"({"channels":[7]})"), true));
    EXPECT_ANY_THROW(ViewLoggers(ReadJsonObject(R"({"loggers":[{"levels":7}]})"), true));
    EXPECT_ANY_THROW(ViewModule(ReadJsonObject(R"({"module":"x"})"), true));
}

}  // namespace
