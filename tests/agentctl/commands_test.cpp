// What the control bundle makes of a request.
#include "control/commands.h"

#include <gmock/gmock.h>
#include <json/writer.h>

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

TEST(ControlCommands, StatusTellsEveryNumberOfEveryChannel) {
    FakeMaintenance fake;
    fake.channels.push_back(
        {"corbaoper", "/log/x.log", 1, 2, 3, 4, 5, 6, 7, UINT64_MAX, 9, ENOSPC, 1700000000});
    const Json::Value data = AskForData(R"({"command":"status"})");
    EXPECT_EQ(data["mode"].asUInt(), 1U);
    EXPECT_TRUE(data["periodic"].asBool());
    EXPECT_EQ(data["version"].asUInt(), 1U);
    const Json::Value channel = data["channels"][0];
    const std::map<std::string, std::string> expected = {
        {"category", "corbaoper"},
        {"currentFile", "/log/x.log"},
        {"recordsWritten", "1"},
        {"recordsDumped", "2"},
        {"recordsDropped", "3"},
        {"recordsEvicted", "4"},
        {"recordsQueued", "5"},
        {"recordsQueuedMost", "6"},
        {"recordsCached", "7"},
        {"bytesWritten", std::to_string(UINT64_MAX)},
        {"rotations", "9"},
        {"lastError", std::to_string(ENOSPC)},
        {"lastErrorText", "No space left on device"},
        {"lastErrorTime", "1700000000"}};
    for (const auto& [name, value] : expected) {
        EXPECT_EQ(channel[name].asString(), value) << name;
    }
    EXPECT_EQ(channel.size(), expected.size());
}

TEST(ControlCommands, ListsAreListsEvenWhenTheyAreEmpty) {
    const FakeMaintenance fake;
    EXPECT_TRUE(AskForData(R"({"command":"status"})")["channels"].isArray());
    EXPECT_TRUE(AskForData(R"({"command":"loggers"})")["loggers"].isArray());
    EXPECT_TRUE(AskForData(R"({"command":"modules"})")["modules"].isArray());
}

TEST(ControlCommands, FlushAndFlushallReachTheService) {
    FakeMaintenance fake;
    AskForData(R"({"command":"flush"})");
    AskForData(R"({"command":"flushall"})");
    AskForData(R"({"command":"flushall","category":"debug"})");
    EXPECT_THAT(fake.calls, ElementsAre("FlushAll", "OutputAll ", "OutputAll debug"));
    fake.success = false;
    EXPECT_THAT(AskForError(R"({"command":"flushall","category":"x"})"),
                HasSubstr("no category \"x\""));
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
