// Alarms as records.
#include <json/json.h>

#include <sstream>

#include "manager/managerfixture.h"
#include "support/recordinglogger.h"

using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;

namespace {

Json::Value Parse(const std::string& text) {
    Json::Value value;
    std::istringstream(text) >> value;
    return value;
}

class LogAlarm : public NS_TEST::ManagerTest {
  protected:
    // ASN messages are logged, level 3 is on.
    LogAlarm() {
        Manager().bEnableAsnLog = 1;
        Manager().levelSwitches = LevelSwitches(0b1000);
        logger_ = Manager().GetLogger("a", "b", "corba_alarm");
    }

    void Write(const Json::Value& alarms) { logger_->LogAlarm("f.cpp", "Run", 7, alarms); }

    // The alarms with these texts are all that is written, and none waits to be.
    void ExpectAlarms(const std::vector<std::string>& texts) {
        std::string expected;
        for (const std::string& text : texts) {
            expected += Frame(++number_, 3, "\n RestAlarm:" + text + "\n");
        }
        written_ += expected;
        EXPECT_EQ(Written("corba_alarm"), written_);
        const auto& statistics = Manager().Channels().Find("corba_alarm")->Statistics();
        EXPECT_EQ(statistics.keptBack.Get() + statistics.queued.Get(), 0u);
    }

    Logger* logger_;
    unsigned number_ = 0;
    std::string written_;
};

TEST_F(LogAlarm, WritesARecordForEachElementWhateverItsKind) {
    Write(Parse(R"([{"id":1,"text":"one"},{"id":2}])"));
    ExpectAlarms({R"({"id":1,"text":"one"})", R"({"id":2})"});
    Write(Parse("[{}]"));
    ExpectAlarms({"{}"});
    Write(Parse(R"([null, true, -5, 1.5, "text", [1,[2]], {"b":1,"a":{"c":null}}])"));
    ExpectAlarms({"null", "true", "-5", "1.5", "\"text\"", "[1,[2]]", R"({"a":{"c":null},"b":1})"});
}

TEST_F(LogAlarm, WritesEachElementOnOneLineOfAscii) {
    Json::Value alarms;
    alarms.append("line\nbreak\ttab\"quote\\");
    alarms.append("\xC3\xBC\xE4\xB8\xAD");
    alarms.append("</1>\n\n<2>");
    Write(alarms);
    ExpectAlarms({R"("line\nbreak\ttab\"quote\\")", R"("\u00fc\u4e2d")", R"("</1>\n\n<2>")"});
}

TEST_F(LogAlarm, WritesNothingForValuesThatHoldNoElements) {
    for (const char* alarms : {"[]", "null", "\"text\"", "5", "true", "1.5", "{}"}) {
        Write(Parse(alarms));
        ExpectAlarms({});
    }
    EXPECT_TRUE(ListFiles(Path()).empty());
}

// Off, it does not even look at the alarms, whose size would throw, nor keeps them back.
TEST_F(LogAlarm, IsGovernedByTheSwitchForAsnMessagesAndTheLoggersOwnLevelThree) {
    const auto expectOff = [this] {
        Write(Parse("[1,2,3]"));
        Write(Parse(R"({"id":1})"));
        ExpectAlarms({});
    };
    Manager().bEnableAsnLog = 0;
    expectOff();
    Manager().bEnableAsnLog = 0x80000000u;
    logger_->DisableLevel(3);
    expectOff();
    for (const unsigned int level : {0u, 1u, 2u}) {
        logger_->EnableLevel(level);
    }
    Manager().levelSwitches = LevelSwitches(0b1111);
    expectOff();
    Manager().levelSwitches = LevelSwitches(0b0111);
    logger_->EnableLevel(3);
    Write(Parse("[4]"));
    ExpectAlarms({"4"});
}

TEST_F(LogAlarm, QueuesInQueuedMode) {
    Manager().outputmode = 1;
    Write(Parse("[1,2]"));
    EXPECT_TRUE(ListFiles(Path()).empty());
    Manager().FlushAll();
    ExpectAlarms({"1", "2"});
}

TEST_F(LogAlarm, PassesOnWhatTheJsonLibraryThrows) {
    EXPECT_THROW(Write(Parse(R"({"id":1})")), Json::LogicError);
    ExpectAlarms({});
    Write(Parse("[1]"));
    ExpectAlarms({"1"});
}

// What Log does to the array decides how it goes on.
TEST_F(LogAlarm, CallsLogOfADerivedLoggerAndLooksAtTheSizeAgainBeforeEachElement) {
    for (const Json::ArrayIndex size : {1u, 2u, 3u}) {
        Json::Value alarms = Parse("[1,2]");
        RecordingLogger logger("c", "d", "debug", Manager(), Manager().Channels());
        logger.onLog = [&] { alarms.resize(size); };
        logger.LogAlarm("some file.cpp", "A::B", 4294967295u, alarms);
        std::vector<LoggedCall> expected;
        for (const char* text : {"1", "2", "null"}) {
            expected.push_back({"some file.cpp", "A::B", 4294967295u, 3,
                                "\n RestAlarm:" + std::string(text) + "\n"});
        }
        expected.resize(size);
        EXPECT_TRUE(logger.Calls() == expected) << size << ", " << logger.Calls().size();
    }
    EXPECT_TRUE(ListFiles(Path()).empty());
}

}  // namespace
