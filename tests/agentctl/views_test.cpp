// What the operator gets to see.
#include "agentctl/views.h"

#include <gmock/gmock.h>

#include "agentctl/shorttext.h"
#include "agentctl/statusview.h"
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

TEST(ShortTexts, NumbersHaveAtMostFiveCharacters) {
    const std::pair<uint64_t, const char*> cases[] = {{0, "0"},
                                                      {99999, "99999"},
                                                      {100000, "100k"},
                                                      {999999, "999k"},
                                                      {1000000, "1.00M"},
                                                      {1234567, "1.23M"},
                                                      {12345678, "12.3M"},
                                                      {123456789, "123M"},
                                                      {1005000000, "1.00G"},
                                                      {UINT64_MAX, "18.4E"}};
    for (const auto& [number, text] : cases) {
        EXPECT_EQ(ShortNumber(number), text);
    }
    EXPECT_EQ(ShortRate(0), "0.0");
    EXPECT_EQ(ShortRate(0.46), "0.5");
    EXPECT_EQ(ShortRate(12.9), "12");
    EXPECT_EQ(ShortRate(1234567.8), "1.23M");
}

TEST(ShortTexts, LinesAreCutByTheirCharacters) {
    EXPECT_EQ(CutLines("12345\n123456\nGrüße!\n", 5), "12345\n12...\nGr...\n");
    EXPECT_EQ(CutLines("Grüß!\n", 5), "Grüß!\n");
    EXPECT_EQ(LongestLine("123\nGrüße\n\n"), 5U);
    EXPECT_EQ(LongestLine(""), 0U);
}

constexpr char kNoError[] =
    R"("lastError":0,"lastErrorText":"","lastErrorTime":0,"lastErrorFile":"")";

// The status of an agent with one channel.
Json::Value StatusData(const std::string& output, const std::string& channel = kNoError,
                       int uptime = 4000, int received = 60000) {
    return ReadJsonObject(
        R"({"agent":{"process":77,"version":"1.2.3","startTime":1700000000,"uptimeMilliseconds":)" +
        std::to_string(uptime) +
        R"(,"configuration":"/share/conf/corba_agent.cfg"},"levels":[true,true,false,true],)"
        R"("asnTrace":true,"outputParameters":false,"keepsRecords":true,"mode":)" +
        output +
        R"(,"channels":[{"category":"corbaoper","currentFile":"/log/x.log",)"
        R"("currentFileInPlace":true,"failing":false,"recordsWritten":1,"recordsDumped":2,)"
        R"("recordsDropped":3,"recordsOverwritten":8,"recordsEvicted":4,"recordsQueued":5,)"
        R"("recordsQueuedMost":6,"recordsCached":7,"bytesWritten":123456,"rotations":9,)"
        R"("recordsReceived":)" +
        std::to_string(received) + "," + channel + "}]}");
}

std::string StatusView(const std::string& output, const std::string& channel = kNoError) {
    return ViewStatus(StatusData(output, channel), {true, 0});
}

TEST(ControlViews, StatusTellsWhoItIsItsSwitchesAndItsChannels) {
    const NS_TEST::ScopedTimeZone zone(NS_TEST::BERLIN);
    EXPECT_EQ(
        StatusView(R"(0,"periodic":false)"),
        "qv_agent 1.2.3, process 77, since 2023-11-14 23:13:20 +0100\n"
        "configuration: /share/conf/corba_agent.cfg\n"
        "levels: 0 on, 1 on, 2 off, 3 on; ASN messages on; output parameters off\n"
        "files: continued when their name comes round\n"
        "output: direct (mode 0)\n"
        "rates: since the start\n"
        "CATEGORY   RATE/S  RECEIVED  WRITTEN  DUMPED  DROPPED  OVERWRITTEN  EVICTED  QUEUED  MOST"
        "  CACHED   BYTES  ROTATIONS  FILE\n"
        "corbaoper   15000     60000        1       2        3            8        4       5     6"
        "       7  123456          9  /log/x.log\n");
}

TEST(ControlViews, StatusOfANarrowTerminalHasShortNumbersAndNoLongLine) {
    Json::Value data = StatusData(R"(1,"periodic":false)");
    data["agent"]["configuration"] = "/" + std::string(200, 'x');
    Json::Value& channel = data["channels"][0];
    channel["category"] = "corba_internal_oper";
    for (const char* name : {"recordsReceived", "recordsWritten", "recordsDropped", "recordsQueued",
                             "recordsCached", "bytesWritten"}) {
        channel[name] = Json::UInt64{123456789012};
    }
    channel["failing"] = true;
    channel["lastError"] = 28;
    channel["lastErrorFile"] = "/" + std::string(200, 'y');
    const std::string text = ViewStatus(data, {true, 80});
    EXPECT_LE(LongestLine(text), 80U);
    EXPECT_THAT(text, HasSubstr("\nCATEGORY             RATE/S  WRITTEN  LOST  QUEUED  CACHED"
                                "  BYTES  FILE\n"));
    EXPECT_THAT(text, HasSubstr("\ncorba_internal_oper   30.8G     123G  123G    123G    123G"
                                "   123G  failing\n"));
    // There is room for everything.
    EXPECT_THAT(ViewStatus(data, {true, 400}), HasSubstr("/log/x.log (failing)\n"));
}

TEST(ControlViews, StatusTellsWhereTheOpenFileIs) {
    Json::Value data = StatusData(R"(0,"periodic":false)");
    Json::Value& channel = data["channels"][0];
    EXPECT_THAT(ViewStatus(data, {true, 80}), HasSubstr("  ok\n"));
    channel["currentFileInPlace"] = false;
    EXPECT_THAT(ViewStatus(data, {true, 80}), HasSubstr("  moved\n"));
    EXPECT_THAT(ViewStatus(data, {true, 0}), HasSubstr("/log/x.log (moved or removed)\n"));
    channel["currentFile"] = "";
    channel["currentFileInPlace"] = true;
    EXPECT_THAT(ViewStatus(data, {true, 80}), HasSubstr("  -\n"));
    EXPECT_THAT(ViewStatus(data, {true, 0}), HasSubstr("  -\n"));
}

TEST(ControlViews, RatesAreThoseSinceTheStatusBeforeOfTheSameProcess) {
    const std::string mode = R"(0,"periodic":false)";
    const Json::Value data = StatusData(mode);
    const auto view = [&data](const Json::Value& before) {
        return ViewStatusSince(before, data, {true, 80});
    };
    const std::string text = view(StatusData(mode, kNoError, 2500, 59997));
    EXPECT_THAT(text, HasSubstr("rates: of the last 1.5 s\n"));
    EXPECT_THAT(text, ContainsRegex("corbaoper +2\\.0 "));
    Json::Value another = StatusData(mode, kNoError, 2500, 59997);
    another["agent"]["process"] = 78;
    EXPECT_THAT(view(another), HasSubstr("rates: since the start\n"));
    Json::Value unknown = data;
    unknown["agent"].removeMember("uptimeMilliseconds");
    unknown["agent"].removeMember("version");
    EXPECT_THAT(ViewStatusSince(data, unknown, {true, 80}),
                AllOf(StartsWith("process 77\n"), HasSubstr("rates: unknown\n"),
                      ContainsRegex("corbaoper +- ")));
}

TEST(ControlViews, StatusTellsWhetherQueuesAreWrittenPeriodically) {
    EXPECT_THAT(StatusView(R"(1,"periodic":true)"),
                HasSubstr("queued (mode 1), written out periodically\n"));
    EXPECT_THAT(StatusView(R"(1,"periodic":false)"), HasSubstr("not written out periodically"));
}

TEST(ControlViews, StatusExplainsTheLastErrorWithItsLocalTime) {
    const NS_TEST::ScopedTimeZone zone(NS_TEST::BERLIN);
    const std::string error =
        R"("lastError":28,"lastErrorText":"No space left","lastErrorTime":1700000000,)"
        R"("lastErrorFile":"/log/x")";
    EXPECT_THAT(StatusView(R"(0,"periodic":false)", error),
                HasSubstr("\nlast error: corbaoper: No space left (errno 28) at "
                          "2023-11-14 23:13:20 +0100, /log/x\n"));
    EXPECT_THAT(StatusView(R"(0,"periodic":false)"), Not(HasSubstr("last error")));
}

TEST(ControlViews, HealthHasALineForEachProblem) {
    EXPECT_EQ(ViewHealth(ReadJsonObject(R"({"health":0,"problems":[]})"), {true, 80}),
              "OK: no record was lost, all files are well\n");
    EXPECT_EQ(ViewHealth(ReadJsonObject(
                             R"({"health":2,"problems":[)"
                             R"({"health":2,"category":"debug","text":"cannot \u001b be written"},)"
                             R"({"health":1,"category":"corbaoper","text":"5 were dropped"}]})"),
                         {true, 80}),
              "CRITICAL: debug: cannot \\x1b be written\n"
              "WARNING: corbaoper: 5 were dropped\n");
}

TEST(ControlViews, LoggersAreShownWithTheirNamesEscaped) {
    const std::string data = R"({"loggers":[{"first":"a\u001b[2J","second":"b","category":"debug",)"
                             R"("levels":[true,false,true,false]}]})";
    EXPECT_EQ(ViewLoggers(ReadJsonObject(data), {true, 0}),
              "FIRST     SECOND  CATEGORY  0   1    2   3\n"
              "a\\x1b[2J  b       debug     on  off  on  off\n");
}

TEST(ControlViews, ModulesAreShownByNumber) {
    EXPECT_EQ(ViewModules(ReadJsonObject(
                              R"({"modules":[{"module":7,"on":false},{"module":10,"on":true}]})"),
                          {true, 0}),
              "MODULE  SWITCH\n"
              "     7  off\n"
              "    10  on\n");
    EXPECT_EQ(ViewModules(ReadJsonObject(R"({"modules":[]})"), {true, 0}),
              "no module switch was set; all modules are on\n");
    EXPECT_EQ(ViewModule(ReadJsonObject(R"({"module":7,"on":true})"), {true, 0}),
              "module 7 is on\n");
}

TEST(ControlViews, DataOfAnotherFormIsAnError) {
    EXPECT_ANY_THROW(ViewStatus(ReadJsonObject(R"({"channels":[7]})"), {true, 0}));
    EXPECT_ANY_THROW(ViewLoggers(ReadJsonObject(R"({"loggers":[{"levels":7}]})"), {true, 0}));
    EXPECT_ANY_THROW(ViewModule(ReadJsonObject(R"({"module":"x"})"), {true, 0}));
}

}  // namespace
