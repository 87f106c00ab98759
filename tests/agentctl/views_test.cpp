// What the operator gets to see.
#include "agentctl/views.h"

#include <gmock/gmock.h>

#include "agentctl/table.h"
#include "agentctl/terminaltext.h"
#include "control/answer.h"
#include "support/environment.h"

namespace {

using namespace NS_REFERENCE_HOST;
using namespace testing;

TEST(TerminalText, LeavesReadableTextAsItIs) {
    for (const char* text : {"", "plain text, 7!", "Grüße 日本 😀"}) {
        EXPECT_EQ(EscapeForTerminal(text, true), text);
    }
}

TEST(TerminalText, EscapesWhatATerminalObeysWhatMisleadsTheEyeAndWhatIsNoText) {
    const std::pair<std::string, std::string> cases[] = {
        {"a\x1b[2Jb", "a\\x1b[2Jb"},
        {"a\nb\tc\rd\x07", "a\\nb\\tc\\x0dd\\x07"},
        {std::string("a\0b", 3), "a\\x00b"},
        {"\x7f", "\\x7f"},
        {"\xc2\x9bJ", "\\xc2\\x9bJ"},       // a control character of two bytes
        {"a\u202eb", "a\\xe2\\x80\\xaeb"},  // turns the direction
        {"a\u200bb", "a\\xe2\\x80\\x8bb"},  // has no width
        {"a\u2028b", "a\\xe2\\x80\\xa8b"},  // ends the line
        {"a\u2067b", "a\\xe2\\x81\\xa7b"},
        {"a\\x1b", "a\\\\x1b"},  // so that no escape can be faked
        {"a\xff", "a\\xff"},
        {"\xc3", "\\xc3"},                             // cut off
        {"\xc0\xaf", "\\xc0\\xaf"},                    // too long
        {"\xed\xa0\x80", "\\xed\\xa0\\x80"},           // half a pair
        {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},  // too high
        {"\xe2\x82z", "\\xe2\\x82z"}};
    for (const auto& [text, escaped] : cases) {
        EXPECT_EQ(EscapeForTerminal(text, true), escaped);
    }
}

TEST(TerminalText, OnATerminalWithoutUtf8OnlyAsciiIsReadable) {
    EXPECT_EQ(EscapeForTerminal("ü", false), "\\xc3\\xbc");
    EXPECT_EQ(EscapeForTerminal("u", false), "u");
}

TEST(TerminalText, HasItsInvalidBytesReplacedForJsonAndItsCharactersCounted) {
    EXPECT_EQ(ReplaceInvalidUtf8("a\xff\xc3ü"), "a\uFFFD\uFFFDü");
    EXPECT_EQ(ReplaceInvalidUtf8("fine"), "fine");
    EXPECT_EQ(CountCharacters("Grüße"), 5U);
    EXPECT_EQ(CountCharacters(""), 0U);
}

TEST(ControlTable, AlignsItsColumns) {
    Table table;
    table.AddColumn("NAME", Table::Align::Left);
    table.AddColumn("N", Table::Align::Right);
    table.AddColumn("REST", Table::Align::Left);
    EXPECT_EQ(table.Render(), "NAME  N  REST\n");
    table.AddRow({"ü", "100", "x"});
    table.AddRow({"longer", "7", ""});
    EXPECT_EQ(table.Render(),
              "NAME      N  REST\n"
              "ü       100  x\n"
              "longer    7\n");
}

constexpr char kNoError[] = R"("lastError":0,"lastErrorText":"","lastErrorTime":0)";

std::string StatusView(const std::string& output, const std::string& error = kNoError) {
    return ViewStatus(
        ReadJsonObject(
            R"({"mode":)" + output +
            R"(,"channels":[{"category":"corbaoper","currentFile":"/log/x.log",)"
            R"("recordsWritten":1,"recordsDumped":2,"recordsDropped":3,"recordsEvicted":4,)"
            R"("recordsQueued":5,"recordsQueuedMost":6,"recordsCached":7,"bytesWritten":123456,)"
            R"("rotations":9,)" +
            error + "}]}"),
        true);
}

TEST(ControlViews, StatusIsATableOfChannels) {
    EXPECT_EQ(
        StatusView(R"(0,"periodic":false)"),
        "output: direct (mode 0)\n"
        "CATEGORY   WRITTEN  DUMPED  DROPPED  EVICTED  QUEUED  MOST  CACHED   BYTES  ROTATIONS"
        "  FILE\n"
        "corbaoper        1       2        3        4       5     6       7  123456          9"
        "  /log/x.log\n");
}

TEST(ControlViews, StatusTellsWhetherQueuesAreWrittenPeriodically) {
    EXPECT_THAT(StatusView(R"(1,"periodic":true)"),
                HasSubstr("queued (mode 1), written out periodically\n"));
    EXPECT_THAT(StatusView(R"(1,"periodic":false)"), HasSubstr("not written out periodically"));
}

TEST(ControlViews, StatusExplainsTheLastErrorWithItsLocalTime) {
    const NS_TEST::ScopedTimeZone zone(NS_TEST::BERLIN);
    const std::string error =
        R"("lastError":28,"lastErrorText":"No space left","lastErrorTime":1700000000)";
    EXPECT_THAT(StatusView(R"(0,"periodic":false)", error),
                HasSubstr("\nlast error: corbaoper: No space left (errno 28) at "
                          "2023-11-14 23:13:20 +0100\n"));
    EXPECT_THAT(StatusView(R"(0,"periodic":false)"), Not(HasSubstr("last error")));
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
