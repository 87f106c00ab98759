// What the control bundle makes of a request.
#include "control/commands.h"

#include <gmock/gmock.h>
#include <json/writer.h>
#include <unistd.h>

#include <cerrno>
#include <map>

#include "agentctl/fakelogservice.h"
#include "control/answer.h"
#include "qv_base_log/resultcode.h"

namespace {

using NS_REFERENCE_HOST::AnswerRequest;
using NS_REFERENCE_HOST::ReadJsonObject;
using namespace NS_TEST;
using namespace testing;

Json::Value Ask(const std::string& request) {
    return ReadJsonObject(AnswerRequest(request));
}

// The data of an answer that has to be a success.
Json::Value AskForData(const std::string& request) {
    const Json::Value answer = Ask(request);
    EXPECT_TRUE(answer["ok"].asBool()) << answer;
    return answer["data"];
}

// The reason of an answer that has to be a failure.
std::string AskForError(const std::string& request) {
    const Json::Value answer = Ask(request);
    EXPECT_FALSE(answer["ok"].asBool()) << answer;
    return answer["error"].asString();
}

// A channel in whose books every number differs.
NS_LOG_SERVICE1::ChannelBooks DistinctBooks() {
    NS_LOG_SERVICE1::ChannelBooks books{};
    books.category = "corbaoper";
    books.currentFile = "/log/x.log";
    books.currentFileInPlace = true;
    books.recordsReceived = 1;
    books.recordsWritten = 2;
    books.recordsDumped = 3;
    books.recordsEvicted = 4;
    books.recordsDropped = 5;
    books.recordsOverwritten = 6;
    books.recordsQueued = 7;
    books.recordsQueuedMost = 8;
    books.recordsCached = 9;
    books.bytesQueued = 10;
    books.bytesWritten = UINT64_MAX;
    books.bytesEmptied = 11;
    books.rotations = 12;
    books.failures = 13;
    books.lastError = ENOSPC;
    books.lastErrorTime = 1700000000;
    books.lastErrorFile = "/log/y.log";
    return books;
}

TEST(ControlCommands, StatusTellsEveryNumberOfEveryChannel) {
    FakeMaintenance fake;
    fake.books.push_back(DistinctBooks());
    const Json::Value data = AskForData(R"({"command":"status"})");
    EXPECT_EQ(data["mode"].asUInt(), 1U);
    EXPECT_TRUE(data["periodic"].asBool());
    EXPECT_EQ(data["version"].asUInt(), 2U);
    const Json::Value channel = data["channels"][0];
    const std::map<std::string, std::string> expected = {
        {"category", "corbaoper"},
        {"currentFile", "/log/x.log"},
        {"currentFileInPlace", "true"},
        {"failing", "false"},
        {"recordsReceived", "1"},
        {"recordsWritten", "2"},
        {"recordsDumped", "3"},
        {"recordsEvicted", "4"},
        {"recordsDropped", "5"},
        {"recordsOverwritten", "6"},
        {"recordsQueued", "7"},
        {"recordsQueuedMost", "8"},
        {"recordsCached", "9"},
        {"bytesQueued", "10"},
        {"bytesWritten", std::to_string(UINT64_MAX)},
        {"bytesEmptied", "11"},
        {"rotations", "12"},
        {"failures", "13"},
        {"lastError", std::to_string(ENOSPC)},
        {"lastErrorText", "No space left on device"},
        {"lastErrorTime", "1700000000"},
        {"lastErrorFile", "/log/y.log"}};
    for (const auto& [name, value] : expected) {
        EXPECT_EQ(channel[name].asString(), value) << name;
    }
    EXPECT_EQ(channel.size(), expected.size());
}

TEST(ControlCommands, StatusTellsTheSwitchesThePolicyAndWhoAnswers) {
    FakeMaintenance fake;
    fake.globalSwitches = {{true, false, true, false}, true, false};
    fake.policy = NS_LOG_SERVICE1::LOG_FILE_POLICY_KEEP_RECORDS;
    fake.queueBytes = 4711;
    Json::Value data = AskForData(R"({"command":"status"})");
    EXPECT_EQ(NS_REFERENCE_HOST::WriteJson(data["levels"]), "[true,false,true,false]");
    EXPECT_TRUE(data["asnTrace"].asBool());
    EXPECT_FALSE(data["outputParameters"].asBool());
    EXPECT_TRUE(data["keepsRecords"].asBool());
    EXPECT_EQ(data["queueBytes"].asUInt(), 4711U);
    EXPECT_EQ(data["agent"]["process"].asInt(), getpid());
    EXPECT_EQ(data["agent"].size(), 1U);

    const FakeAgentInformation agent;
    data = AskForData(R"({"command":"status"})")["agent"];
    EXPECT_EQ(data["process"].asInt(), getpid());
    EXPECT_EQ(data["version"].asString(), "1.2.3");
    EXPECT_EQ(data["configuration"].asString(), "/share/conf");
    EXPECT_EQ(data["startTime"].asInt(), 1700000000);
    EXPECT_EQ(data["uptimeMilliseconds"].asInt(), 2500);
}

// What health says of one channel.
Json::Value HealthOf(const NS_LOG_SERVICE1::ChannelBooks& books) {
    FakeMaintenance fake;
    fake.books.push_back(books);
    return AskForData(R"({"command":"health"})");
}

TEST(ControlCommands, HealthIsGoodWithoutProblems) {
    NS_LOG_SERVICE1::ChannelBooks books{};
    books.currentFileInPlace = true;
    books.recordsEvicted = books.recordsWritten = books.rotations = 100;
    const Json::Value data = HealthOf(books);
    EXPECT_EQ(data["health"].asInt(), 0);
    EXPECT_TRUE(data["problems"].isArray());
    EXPECT_TRUE(data["problems"].empty());
}

TEST(ControlCommands, HealthNamesEachProblemTheWorstFirst) {
    NS_LOG_SERVICE1::ChannelBooks books = DistinctBooks();
    Json::Value data = HealthOf(books);
    EXPECT_EQ(data["health"].asInt(), 1);
    ASSERT_EQ(data["problems"].size(), 2U);
    EXPECT_EQ(data["problems"][0]["category"].asString(), "corbaoper");
    EXPECT_EQ(data["problems"][0]["text"].asString(),
              "5 records were dropped (last error: /log/y.log: No space left on device)");
    EXPECT_EQ(data["problems"][1]["text"].asString(),
              "6 records were lost when their file was emptied");

    books.failing = true;
    books.currentFileInPlace = false;
    data = HealthOf(books);
    EXPECT_EQ(data["health"].asInt(), 2);
    ASSERT_EQ(data["problems"].size(), 4U);
    EXPECT_EQ(data["problems"][0]["health"].asInt(), 2);
    EXPECT_EQ(data["problems"][0]["text"].asString(),
              "cannot be written (last error: /log/y.log: No space left on device)");
    EXPECT_EQ(data["problems"][3]["text"].asString(),
              "/log/x.log was moved or removed while it is written");

    books = {};
    books.currentFileInPlace = true;
    books.failures = 1;
    books.lastError = EIO;
    data = HealthOf(books);
    EXPECT_EQ(data["health"].asInt(), 1);
    EXPECT_EQ(data["problems"][0]["text"].asString(),
              "a file failed, without loss (last error: Input/output error)");
}

TEST(ControlCommands, ListsAreListsEvenWhenTheyAreEmpty) {
    const FakeMaintenance fake;
    EXPECT_TRUE(AskForData(R"({"command":"status"})")["channels"].isArray());
    EXPECT_TRUE(AskForData(R"({"command":"loggers"})")["loggers"].isArray());
    EXPECT_TRUE(AskForData(R"({"command":"modules"})")["modules"].isArray());
}

TEST(ControlCommands, WhatConcernsFilesReachesTheService) {
    FakeMaintenance fake;
    AskForData(R"({"command":"flush"})");
    for (const char* command : {"flushall", "reopen", "rotate"}) {
        const std::string request = std::string(R"({"command":")") + command + '"';
        AskForData(request + "}");
        AskForData(request + R"(,"category":"debug"})");
        fake.success = false;
        EXPECT_THAT(AskForError(request + R"(,"category":"x"})"), HasSubstr("no category \"x\""));
        fake.success = true;
        EXPECT_THAT(AskForError(request + R"(,"category":""})"), HasSubstr("is empty"));
    }
    EXPECT_THAT(fake.calls,
                ElementsAre("FlushAll", "OutputAll ", "OutputAll debug", "OutputAll x", "Reopen ",
                            "Reopen debug", "Reopen x", "Rotate ", "Rotate debug", "Rotate x"));
}

TEST(ControlCommands, QueueSwitchesAndTellsHowItIsNow) {
    FakeMaintenance fake;
    const Json::Value data = AskForData(R"({"command":"queue","on":true})");
    EXPECT_EQ(data["mode"].asUInt(), 1U);
    EXPECT_TRUE(data["periodic"].asBool());
    AskForData(R"({"command":"queue","on":false})");
    EXPECT_THAT(fake.calls, ElementsAre("SetQueuedOutput on", "SetQueuedOutput off"));
}

TEST(ControlCommands, AResultCodeIsToldAsNumberAndInWords) {
    FakeMaintenance fake;
    fake.code = NS_LOG_SERVICE1::LOG_RESULT_DELETE_TASK_FAILED;
    const Json::Value answer = Ask(R"({"command":"queue","on":false})");
    EXPECT_FALSE(answer["ok"].asBool());
    EXPECT_EQ(answer["code"].asUInt(), 0x4118002BU);
    EXPECT_THAT(answer["error"].asString(), HasSubstr("refused to delete"));
}

TEST(ControlCommands, ModeReachesTheServiceAndItsCodesAreExplained) {
    FakeLogService fake;
    AskForData(R"({"command":"mode","mode":0})");
    EXPECT_THAT(fake.modes, ElementsAre(0U));
    fake.code = NS_LOG_SERVICE1::LOG_RESULT_INVALID_OUTPUT_MODE;
    EXPECT_THAT(AskForError(R"({"command":"mode","mode":9})"), HasSubstr("neither 0 nor 1"));
    fake.code = NS_LOG_SERVICE1::LOG_RESULT_INTERFACE_NOT_EXIST;
    EXPECT_THAT(AskForError(R"({"command":"mode","mode":0})"), HasSubstr("schedule service"));
    fake.code = 77;
    const Json::Value answer = Ask(R"({"command":"mode","mode":0})");
    EXPECT_EQ(answer["code"].asUInt(), 77U);
    EXPECT_THAT(answer["error"].asString(), HasSubstr("not known"));
}

TEST(ControlCommands, LevelIsGlobalWithoutALoggerAndElseTakesItsThreeStrings) {
    const std::string global = R"({"command":"level","level":2,"on":true})";
    const std::string one =
        R"({"command":"level","level":0,"on":false,"first":"","second":"b","category":"c"})";
    FakeMaintenance fake;
    AskForData(global);
    AskForData(one);
    EXPECT_THAT(fake.calls, ElementsAre("SetLevel 2 on", "SetLoggerLevel |b|c 0 off"));
    fake.success = false;
    EXPECT_THAT(AskForError(global), HasSubstr("level 2"));
    EXPECT_THAT(AskForError(one), HasSubstr("no such logger"));
    fake.calls.clear();
    EXPECT_THAT(AskForError(R"({"command":"level","level":0,"on":false,"first":"a"})"),
                HasSubstr("\"second\""));
    EXPECT_THAT(fake.calls, IsEmpty()) << "an incomplete name switches nothing";
}

TEST(ControlCommands, NamesKeepTheirBytesInBothDirections) {
    FakeMaintenance fake;
    const std::string odd("a\x1b\n\xff\0z", 6);
    fake.loggers.push_back({odd, "second", "debug", {true, false, true, false}});
    const std::string answer = AnswerRequest(R"({"command":"loggers"})");
    EXPECT_EQ(answer.find('\n'), std::string::npos);
    const Json::Value logger = ReadJsonObject(answer)["data"]["loggers"][0];
    EXPECT_EQ(logger["first"].asString(), odd);
    EXPECT_TRUE(logger["levels"][0].asBool());
    EXPECT_FALSE(logger["levels"][3].asBool());
    Json::Value request;
    request["command"] = "level";
    request["level"] = 1;
    request["on"] = true;
    for (const char* member : {"first", "second", "category"}) {
        request[member] = logger[member];
    }
    AskForData(NS_REFERENCE_HOST::WriteJson(request));
    EXPECT_THAT(fake.calls, ElementsAre("SetLoggerLevel " + odd + "|second|debug 1 on"));
}

TEST(ControlCommands, ModulesAreShownAndSwitched) {
    FakeMaintenance maintenance;
    FakeLogService service;
    EXPECT_TRUE(AskForData(R"({"command":"module","module":7})")["on"].asBool());
    EXPECT_THAT(service.switches, IsEmpty());
    EXPECT_FALSE(AskForData(R"({"command":"module","module":7,"on":false})")["on"].asBool());
    EXPECT_FALSE(service.switches.at(7));
    maintenance.modules.push_back({7, false});
    const Json::Value modules = AskForData(R"({"command":"modules"})")["modules"];
    EXPECT_EQ(modules[0]["module"].asInt(), 7);
    EXPECT_FALSE(modules[0]["on"].asBool());
}

TEST(ControlCommands, AServiceThatIsMissingOrHasGoneIsAClearError) {
    {
        const FakeMaintenance fake;
        AskForData(R"({"command":"status"})");
    }
    for (const char* request : {R"({"command":"status"})", R"({"command":"mode","mode":0})"}) {
        EXPECT_THAT(AskForError(request), HasSubstr("runs no logging service"));
    }
}

TEST(ControlCommands, WhatTheServiceThrowsBecomesAnAnswerAndAnOlderServiceIsNotCalled) {
    FakeMaintenance fake;
    fake.throws = true;
    EXPECT_THAT(AskForError(R"({"command":"loggers"})"), HasSubstr("out of breath"));
    fake.version = 0;
    EXPECT_THAT(AskForError(R"({"command":"flush"})"), HasSubstr("too old"));
    EXPECT_THAT(fake.calls, IsEmpty());
}

TEST(ControlCommands, RequestsThatMakeNoSenseAreRefused) {
    const FakeMaintenance fake;
    for (const char* request :
         {"", "status", "[]", "7", "{", R"({"command":7})", R"({"command":"nonsense"})",
          R"({"command":"queue"})", R"({"command":"queue","on":"on"})",
          R"({"command":"level","level":-1,"on":true})",
          R"({"command":"level","level":1.5,"on":1})", R"({"command":"flushall","category":null})",
          R"({"command":"status"} trailing)"}) {
        EXPECT_FALSE(Ask(request)["ok"].asBool()) << request;
    }
    EXPECT_THAT(fake.calls, IsEmpty());
    EXPECT_FALSE(Ask(std::string(4000, '['))["ok"].asBool());
}

}  // namespace
