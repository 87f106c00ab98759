// Switching levels of many loggers, or of one, through the manager.
#include <cstdint>
#include <limits>
#include <stdexcept>

#include "manager/managertest.h"

using NS_LOG_SERVICE1::LevelSwitches;
using NS_LOG_SERVICE1::Logger;
using NS_LOG_SERVICE1::LogMgr;
using NS_TEST::Diagnostics;
using NS_TEST::EndsOnAnotherThread;
using testing::AllOf;
using testing::EndsWith;
using testing::StartsWith;

namespace {

// Refuses every level.
class RefusingLogger : public Logger {
  public:
    RefusingLogger(const std::string& first, const std::string& second, const std::string& category)
        : Logger(first, second, category, *LogMgr::Instance(), LogMgr::Instance()->Channels()) {}
    bool EnableLevel(unsigned int) override {
        ++asked_;
        return false;
    }
    bool DisableLevel(unsigned int) override {
        ++asked_;
        return false;
    }
    int Asked() const { return asked_; }

  private:
    int asked_ = 0;
};

class BulkSwitching : public NS_TEST::ManagerTest {
  protected:
    static RefusingLogger& AddRefusing(const std::string& first, const std::string& second,
                                       const std::string& category) {
        return static_cast<RefusingLogger&>(*Manager().Loggers().FindOrAdd(
            {first, second, category},
            [&] { return std::make_unique<RefusingLogger>(first, second, category); }));
    }

    // Whether another thread can take the mutex of the logger list.
    static bool IsListFree() {
        return EndsOnAnotherThread([] { Manager().GetLogger("passes", "by", "debug"); });
    }

    static unsigned long Levels(const std::string& first) {
        return Manager().GetLogger(first, "b", "debug")->Levels().to_ulong();
    }
};

TEST_F(BulkSwitching, AnswersOneAndReportsNothingWithoutLoggers) {
    for (const uint32_t level : {0u, 3u, 4u, std::numeric_limits<uint32_t>::max()}) {
        EXPECT_EQ(Manager().EnableAllLogLevel(level), 1);
        EXPECT_EQ(Manager().DisableAllLogLevel(level), 1);
    }
    EXPECT_TRUE(Diagnostics().Printed().empty());
    EXPECT_TRUE(IsListFree());
}

TEST_F(BulkSwitching, ReachesEveryLogger) {
    for (const char* first : {"one", "two", "three"}) {
        Levels(first);
    }
    EXPECT_EQ(Manager().EnableAllLogLevel(2), 1);
    EXPECT_EQ(Manager().EnableAllLogLevel(0), 1);
    for (const char* first : {"one", "two", "three"}) {
        EXPECT_EQ(Levels(first), 0b0101u) << first;
    }
    EXPECT_EQ(Manager().DisableAllLogLevel(2), 1);
    for (const char* first : {"one", "two", "three"}) {
        EXPECT_EQ(Levels(first), 0b0001u) << first;
    }
    EXPECT_TRUE(Diagnostics().Printed().empty());
}

TEST_F(BulkSwitching, LeavesTheGlobalSwitchesAlone) {
    Manager().levelSwitches = LevelSwitches(0b0110);
    Levels("one");
    Manager().EnableAllLogLevel(0);
    Manager().DisableAllLogLevel(1);
    EXPECT_EQ(Manager().levelSwitches.Get().to_ulong(), 0b0110u);
    EXPECT_EQ(Levels("one"), 0b0101u);
    EXPECT_EQ(Levels("later"), 0b0110u);
}

TEST_F(BulkSwitching, ReportsARefusalToEnableAndGoesOn) {
    Levels("before");
    RefusingLogger& refusing = AddRefusing("bundle", "service", "corbaoper");
    Levels("after");
    EXPECT_EQ(Manager().EnableAllLogLevel(3), 1);
    EXPECT_EQ(refusing.Asked(), 1);
    EXPECT_EQ(Levels("before"), 0b1000u);
    EXPECT_EQ(Levels("after"), 0b1000u);

    const auto reports = Diagnostics().Printed();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].level, 1);
    EXPECT_EQ(reports[0].format,
              "[LogMgr::EnableAllLogLevel] Disable %s, %s, %s, Level %d error\n");
    EXPECT_THAT(reports[0].text,
                AllOf(StartsWith("[LogMgr::EnableAllLogLevel] Disable bundle, service, corbaoper, "
                                 "Level "),
                      EndsWith(" error\n")));
    EXPECT_EQ(reports[0].file, "logimpl");
    EXPECT_GT(reports[0].line, 0);
    EXPECT_TRUE(IsListFree());
}

TEST_F(BulkSwitching, ReportsARefusalToDisableAndGoesOn) {
    Manager().levelSwitches = LevelSwitches(0b1111);
    Levels("before");
    RefusingLogger& refusing = AddRefusing("bundle", "service", "corbaoper");
    Levels("after");
    EXPECT_EQ(Manager().DisableAllLogLevel(1), 1);
    EXPECT_EQ(refusing.Asked(), 1);
    EXPECT_EQ(Levels("before"), 0b1101u);
    EXPECT_EQ(Levels("after"), 0b1101u);

    const auto reports = Diagnostics().Printed();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].level, 1);
    EXPECT_EQ(reports[0].format,
              "[LogMgr::DisableAllLogLevel] Disable %s, %s, %s, Level %d error\n");
    EXPECT_THAT(reports[0].text, StartsWith("[LogMgr::DisableAllLogLevel] Disable bundle, service, "
                                            "corbaoper, Level "));
    EXPECT_EQ(reports[0].file, "logimpl");
}

TEST_F(BulkSwitching, ReportsEachLoggerThatRefuses) {
    AddRefusing("one", "", "debug");
    AddRefusing("", "two", "corbasys");
    AddRefusing("%s%n", "50%", "corba_alarm");
    EXPECT_EQ(Manager().EnableAllLogLevel(0), 1);
    const auto reports = Diagnostics().Printed();
    ASSERT_EQ(reports.size(), 3u);
    EXPECT_THAT(reports[0].text, StartsWith("[LogMgr::EnableAllLogLevel] Disable one, , debug, "));
    EXPECT_THAT(reports[1].text, StartsWith("[LogMgr::EnableAllLogLevel] Disable , two, corbasys"));
    EXPECT_THAT(reports[2].text, StartsWith("[LogMgr::EnableAllLogLevel] Disable %s%n, 50%, "));
}

TEST_F(BulkSwitching, EndsAtTheFirstLoggerForALevelWithoutASwitch) {
    Levels("first");
    RefusingLogger& second = AddRefusing("second", "", "debug");
    for (const uint32_t level : {4u, 5u, std::numeric_limits<uint32_t>::max()}) {
        EXPECT_THROW(Manager().EnableAllLogLevel(level), std::out_of_range);
        EXPECT_TRUE(IsListFree());
        EXPECT_THROW(Manager().DisableAllLogLevel(level), std::out_of_range);
        EXPECT_TRUE(IsListFree());
    }
    EXPECT_EQ(second.Asked(), 0);
    EXPECT_EQ(Levels("first"), 0u);
    EXPECT_TRUE(Diagnostics().Printed().empty());
}

// A refusal in front of it is reported all the same.
TEST_F(BulkSwitching, PassesALevelWithoutASwitchOnAsItIs) {
    RefusingLogger& refusing = AddRefusing("refusing", "", "debug");
    Levels("throwing");
    EXPECT_THROW(Manager().EnableAllLogLevel(4), std::out_of_range);
    EXPECT_EQ(refusing.Asked(), 1);
    EXPECT_EQ(Diagnostics().Printed().size(), 1u);
}

using SingleSwitching = BulkSwitching;

TEST_F(SingleSwitching, SwitchesTheNamedLoggerOnly) {
    for (const char* first : {"one", "two"}) {
        Levels(first);
    }
    EXPECT_EQ(Manager().EnableLogLevel("two", "b", "debug", 3), 1);
    EXPECT_EQ(Levels("one"), 0u);
    EXPECT_EQ(Levels("two"), 0b1000u);
    EXPECT_EQ(Manager().EnableLogLevel("two", "b", "debug", 3), 1);
    EXPECT_EQ(Manager().EnableLogLevel("two", "b", "debug", 0), 1);
    EXPECT_EQ(Levels("two"), 0b1001u);
    EXPECT_EQ(Manager().DisableLogLevel("two", "b", "debug", 3), 1);
    EXPECT_EQ(Levels("two"), 0b0001u);
    EXPECT_EQ(Manager().DisableLogLevel("two", "b", "debug", 3), 1);
    EXPECT_TRUE(Diagnostics().Printed().empty());
}

TEST_F(SingleSwitching, AnswersZeroForALoggerThatDoesNotExist) {
    Levels("one");
    const std::string zeroByte("one\0", 4);
    for (const std::string& first :
         {std::string("One"), std::string(), zeroByte, std::string("on")}) {
        EXPECT_EQ(Manager().EnableLogLevel(first, "b", "debug", 1), 0);
        EXPECT_EQ(Manager().DisableLogLevel(first, "b", "debug", 1), 0);
        EXPECT_EQ(Manager().EnableLogLevel(first, "b", "debug", 4), 0);
        EXPECT_EQ(Manager().EnableLoggerLevels(first, "b", "debug"), 0);
        EXPECT_EQ(Manager().DisableLoggerLevels(first, "b", "debug"), 0);
    }
    EXPECT_EQ(Manager().EnableLogLevel("one", "c", "debug", 1), 0);
    EXPECT_EQ(Manager().EnableLogLevel("one", "b", "corbasys", 1), 0);
    EXPECT_EQ(Manager().EnableLogLevel("one", "b", "nonsense", 1), 0);
    int loggers = 0;
    Manager().Loggers().ForEach([&loggers](Logger&) { ++loggers; });
    EXPECT_EQ(loggers, 1);
    EXPECT_EQ(Levels("one"), 0u);
    EXPECT_TRUE(Diagnostics().Printed().empty());
    EXPECT_TRUE(IsListFree());
}

TEST_F(SingleSwitching, FindsALoggerWithEmptyNames) {
    Logger* const logger = Manager().GetLogger("", "", "debug");
    EXPECT_EQ(Manager().EnableLogLevel("", "", "debug", 1), 1);
    EXPECT_EQ(logger->Levels().to_ulong(), 0b0010u);
}

TEST_F(SingleSwitching, AnswersZeroForARefusalAndReportsNothing) {
    AddRefusing("a", "b", "corbaoper");
    EXPECT_EQ(Manager().EnableLogLevel("a", "b", "corbaoper", 1), 0);
    EXPECT_EQ(Manager().DisableLogLevel("a", "b", "corbaoper", 1), 0);
    EXPECT_TRUE(Diagnostics().Printed().empty());
}

TEST_F(SingleSwitching, LetsALevelWithoutASwitchPassOut) {
    Levels("one");
    EXPECT_THROW(Manager().EnableLogLevel("one", "b", "debug", 4), std::out_of_range);
    EXPECT_TRUE(IsListFree());
    EXPECT_THROW(Manager().DisableLogLevel("one", "b", "debug", 4), std::out_of_range);
    EXPECT_TRUE(IsListFree());
    EXPECT_EQ(Levels("one"), 0u);
}

TEST_F(SingleSwitching, AlwaysThrowsForAllLevelsOfALogger) {
    Manager().levelSwitches = LevelSwitches(0b0101);
    Levels("one");
    EXPECT_THROW(Manager().EnableLoggerLevels("one", "b", "debug"), std::out_of_range);
    EXPECT_TRUE(IsListFree());
    EXPECT_THROW(Manager().DisableLoggerLevels("one", "b", "debug"), std::out_of_range);
    EXPECT_TRUE(IsListFree());
    EXPECT_EQ(Levels("one"), 0b0101u);
    EXPECT_EQ(Manager().EnableLogLevel("one", "b", "debug", 1), 1);
    EXPECT_EQ(Levels("one"), 0b0111u);
}

using ManagerSwitches = BulkSwitching;

TEST_F(ManagerSwitches, AreReadByLevel) {
    Manager().levelSwitches = LevelSwitches(0b0101);
    EXPECT_TRUE(Manager().IsLogLevelEnabled(0));
    EXPECT_FALSE(Manager().IsLogLevelEnabled(1));
    EXPECT_TRUE(Manager().IsLogLevelEnabled(2));
    EXPECT_FALSE(Manager().IsLogLevelEnabled(3));
}

TEST_F(ManagerSwitches, AreOffAboveLevelThree) {
    Manager().levelSwitches = LevelSwitches(0b1111);
    EXPECT_TRUE(Manager().IsLogLevelEnabled(3));
    for (const uint32_t level : {4u, 5u, 32u, 64u, std::numeric_limits<uint32_t>::max()}) {
        EXPECT_FALSE(Manager().IsLogLevelEnabled(level)) << level;
    }
}

TEST_F(ManagerSwitches, KeepTheirFlagsAsTheyAreSet) {
    for (const uint32_t value : {1u, 0u, 7u, std::numeric_limits<uint32_t>::max()}) {
        Manager().SetEnableAsnLog(value);
        EXPECT_EQ(Manager().GetEnableAsnLog(), value);
        EXPECT_EQ(Manager().bEnableAsnLog, value);
        Manager().SetEnableOutputPara(value + 1);
        EXPECT_EQ(Manager().GetEnableOutputPara(), value + 1);
        EXPECT_EQ(Manager().bLogOutputPara, value + 1);
        EXPECT_EQ(Manager().GetEnableAsnLog(), value);
    }
}

// Two bulk operations and new loggers at once: each logger ends up with a state that one of the
// operations gave it.
TEST_F(BulkSwitching, RunsWhileOthersMakeLoggersAndSwitchThem) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([number] {
            const std::string first = std::to_string(number);
            for (int round = 0; round < 200; ++round) {
                Manager().GetLogger(first, std::to_string(round % 20), "debug");
                Manager().EnableAllLogLevel(2);
                Manager().EnableLogLevel(first, "0", "debug", 0);
                Manager().DisableAllLogLevel(1);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    int loggers = 0;
    Manager().Loggers().ForEach([&loggers](Logger& logger) {
        ++loggers;
        EXPECT_EQ(logger.Levels().to_ulong(), logger.Second() == "0" ? 0b0101u : 0b0100u);
    });
    EXPECT_EQ(loggers, 80);
}

}  // namespace
