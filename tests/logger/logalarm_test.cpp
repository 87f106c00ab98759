// Alarms as records.
#include <json/json.h>

#include <stdexcept>

#include "manager/managertest.h"

using NS_LOG_SERVICE1::LevelSwitches;
using NS_LOG_SERVICE1::Logger;
using NS_TEST::Frame;

namespace {

Json::Value Parse(const std::string& text) {
    Json::Value value;
    std::string errors;
    Json::CharReaderBuilder builder;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) {
        throw std::runtime_error(errors);
    }
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
    std::string Written() const { return ManagerTest::Written("corba_alarm"); }
    static uint64_t Cached() {
        return Manager().Channels().Find("corba_alarm")->Statistics().keptBack.Get();
    }
    void ExpectNothing() const {
        EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
        EXPECT_EQ(Cached(), 0u);
    }

    Logger* logger_;
};

TEST_F(LogAlarm, WritesARecordForEachElement) {
    Write(Parse(R"([{"id":1,"text":"one"},{"id":2},{"id":3}])"));
    EXPECT_EQ(Written(), Frame(1, 3, "\n RestAlarm:{\"id\":1,\"text\":\"one\"}\n") +
                             Frame(2, 3, "\n RestAlarm:{\"id\":2}\n") +
                             Frame(3, 3, "\n RestAlarm:{\"id\":3}\n"));
}

TEST_F(LogAlarm, WritesOneRecordForOneElement) {
    Write(Parse("[{}]"));
    EXPECT_EQ(Written(), Frame(1, 3, "\n RestAlarm:{}\n"));
}

TEST_F(LogAlarm, WritesNothingForAnEmptyArray) {
    Write(Parse("[]"));
    ExpectNothing();
}

TEST_F(LogAlarm, WritesElementsOfAnyKind) {
    Write(Parse(R"([null, true, -5, 1.5, "text", [1,[2]], {"b":1,"a":{"c":null}}])"));
    EXPECT_EQ(Written(), Frame(1, 3, "\n RestAlarm:null\n") + Frame(2, 3, "\n RestAlarm:true\n") +
                             Frame(3, 3, "\n RestAlarm:-5\n") + Frame(4, 3, "\n RestAlarm:1.5\n") +
                             Frame(5, 3, "\n RestAlarm:\"text\"\n") +
                             Frame(6, 3, "\n RestAlarm:[1,[2]]\n") +
                             Frame(7, 3, "\n RestAlarm:{\"a\":{\"c\":null},\"b\":1}\n"));
}

TEST_F(LogAlarm, WritesEachElementOnOneLineOfAscii) {
    Json::Value alarms;
    alarms.append("line\nbreak\ttab\"quote\\");
    alarms.append("\xC3\xBC\xE4\xB8\xAD");
    alarms.append("</1>\n\n<2>");
    Write(alarms);
    EXPECT_EQ(Written(), Frame(1, 3, "\n RestAlarm:\"line\\nbreak\\ttab\\\"quote\\\\\"\n") +
                             Frame(2, 3, "\n RestAlarm:\"\\u00fc\\u4e2d\"\n") +
                             Frame(3, 3, "\n RestAlarm:\"</1>\\n\\n<2>\"\n"));
}

TEST_F(LogAlarm, DoesNothingWhileAsnMessagesAreNotLogged) {
    Manager().bEnableAsnLog = 0;
    Write(Parse("[1,2,3]"));
    ExpectNothing();
}

TEST_F(LogAlarm, TakesEveryValueButZeroAsOn) {
    Manager().bEnableAsnLog = 0x80000000u;
    Write(Parse("[1]"));
    EXPECT_EQ(Written(), Frame(1, 3, "\n RestAlarm:1\n"));
}

TEST_F(LogAlarm, DoesNotEvenKeepBackAnAlarmWhoseLevelIsOff) {
    logger_->DisableLevel(3);
    Write(Parse("[1,2,3]"));
    ExpectNothing();
    logger_->EnableLevel(0);
    logger_->EnableLevel(1);
    logger_->EnableLevel(2);
    Write(Parse("[1,2,3]"));
    ExpectNothing();
}

TEST_F(LogAlarm, LooksAtTheLoggersOwnSwitch) {
    Manager().levelSwitches = LevelSwitches(0b0111);
    Write(Parse("[1]"));
    EXPECT_EQ(Written(), Frame(1, 3, "\n RestAlarm:1\n"));
    Manager().levelSwitches = LevelSwitches(0b1111);
    logger_->DisableLevel(3);
    Write(Parse("[2]"));
    EXPECT_EQ(Written(), Frame(1, 3, "\n RestAlarm:1\n"));
}

TEST_F(LogAlarm, QueuesInQueuedMode) {
    Manager().outputmode = 1;
    Write(Parse("[1,2]"));
    ExpectNothing();
    Manager().FlushAll();
    EXPECT_EQ(Written(), Frame(1, 3, "\n RestAlarm:1\n") + Frame(2, 3, "\n RestAlarm:2\n"));
}

TEST_F(LogAlarm, TakesValuesThatHoldNoElementsAsEmpty) {
    for (const Json::Value& alarms :
         {Json::Value(), Json::Value("text"), Json::Value(5), Json::Value(true), Json::Value(1.5),
          Json::Value(Json::objectValue)}) {
        Write(alarms);
    }
    ExpectNothing();
}

TEST_F(LogAlarm, PassesOnWhatTheJsonLibraryThrows) {
    EXPECT_THROW(Write(Parse(R"({"id":1})")), Json::LogicError);
    ExpectNothing();
    EXPECT_TRUE(NS_TEST::EndsOnAnotherThread([this] { Write(Parse("[1]")); }));
    EXPECT_EQ(Cached(), 0u);
    EXPECT_THAT(Written(), testing::HasSubstr(" Detail: \n RestAlarm:1\n"));
}

TEST_F(LogAlarm, LooksAtNothingWhileItIsOff) {
    Manager().bEnableAsnLog = 0;
    Write(Parse(R"({"id":1})"));
    Manager().bEnableAsnLog = 1;
    logger_->DisableLevel(3);
    Write(Parse(R"({"id":1})"));
    ExpectNothing();
}

// Changes the array from inside Log.
class ChangingLogger : public Logger {
  public:
    ChangingLogger(NS_LOG_SERVICE1::LogMgr& manager, Json::Value& alarms)
        : Logger("c", "d", "corba_alarm", manager, manager.Channels()), alarms_(alarms) {}

    void Log(const std::string& file, const std::string& function, unsigned int line, int level,
             const std::string& text) override {
        EXPECT_EQ(file, "f.cpp");
        EXPECT_EQ(function, "Run");
        EXPECT_EQ(line, 7u);
        EXPECT_EQ(level, 3);
        texts.push_back(text);
        alarms_.resize(resizeTo);
    }

    std::vector<std::string> texts;
    Json::ArrayIndex resizeTo = 0;

  private:
    Json::Value& alarms_;
};

TEST_F(LogAlarm, HandsEachTextToLogAsADerivedClassHasIt) {
    Json::Value alarms = Parse("[1,2]");
    ChangingLogger logger(Manager(), alarms);
    logger.resizeTo = 2;
    logger.LogAlarm("f.cpp", "Run", 7, alarms);
    EXPECT_THAT(logger.texts, testing::ElementsAre("\n RestAlarm:1\n", "\n RestAlarm:2\n"));
    ExpectNothing();
}

TEST_F(LogAlarm, LooksAtTheSizeAgainBeforeEachElement) {
    Json::Value alarms = Parse("[1,2,3]");
    ChangingLogger shrinking(Manager(), alarms);
    shrinking.resizeTo = 1;
    shrinking.LogAlarm("f.cpp", "Run", 7, alarms);
    EXPECT_THAT(shrinking.texts, testing::ElementsAre("\n RestAlarm:1\n"));

    ChangingLogger growing(Manager(), alarms);
    growing.resizeTo = 3;
    growing.LogAlarm("f.cpp", "Run", 7, alarms);
    EXPECT_THAT(growing.texts, testing::ElementsAre("\n RestAlarm:1\n", "\n RestAlarm:null\n",
                                                    "\n RestAlarm:null\n"));
}

}  // namespace
