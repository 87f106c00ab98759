// Switching the levels of one logger, and reading the manager's switches and flags.
#include <climits>
#include <stdexcept>

#include "control/switchinglogger.h"

using NS_TEST::SwitchingLogger;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class SingleLoggerSwitching : public NS_TEST::SwitchingTest {};

TEST_F(SingleLoggerSwitching, ReachesTheLoggerOfThatNameAlone) {
    auto* logger = Manager().GetLogger("a", "b", "debug");
    auto* other = Manager().GetLogger("a", "b", "corbasys");
    EXPECT_EQ(Manager().EnableLogLevel("a", "b", "debug", 0), 1);
    EXPECT_EQ(Manager().DisableLogLevel("a", "b", "debug", 3), 1);
    EXPECT_EQ(Levels(logger->Levels()), "1100");
    EXPECT_EQ(Levels(other->Levels()), "0101");
    EXPECT_EQ(Levels(), "0101");
}

TEST_F(SingleLoggerSwitching, OfAnUnknownLoggerIsZeroWithoutAMessage) {
    Manager().GetLogger("a", "b", "debug");
    for (const char* name : {"A", "a ", "", "ab"}) {
        EXPECT_EQ(Manager().EnableLogLevel(name, "b", "debug", 0), 0);
        EXPECT_EQ(Manager().DisableLogLevel("a", name, "debug", 0), 0);
        EXPECT_EQ(Manager().EnableLogLevel("a", "b", name, 0), 0);
        EXPECT_EQ(Manager().EnableLoggerLevels(name, "b", "debug"), 0);
        EXPECT_EQ(Manager().DisableLoggerLevels("a", name, "debug"), 0);
    }
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(SingleLoggerSwitching, OfAnUnknownLoggerDoesNotLookAtTheLevel) {
    EXPECT_EQ(Manager().EnableLogLevel("a", "b", "debug", 4), 0);
    EXPECT_EQ(Manager().DisableLogLevel("a", "b", "debug", UINT_MAX), 0);
}

TEST_F(SingleLoggerSwitching, DoesNotCreateALogger) {
    Manager().EnableLogLevel("a", "b", "debug", 0);
    Manager().Loggers().ForEach([](const NS_LOG_SERVICE1::Logger&) { FAIL(); });
}

TEST_F(SingleLoggerSwitching, ComparesNamesByteForByte) {
    const std::string zero("a\0b", 3);
    auto* plain = Manager().GetLogger("a", "b", "debug");
    auto* withZero = Manager().GetLogger(zero, "b", "debug");
    auto* empty = Manager().GetLogger("", "", "debug");
    EXPECT_EQ(Manager().EnableLogLevel(zero, "b", "debug", 0), 1);
    EXPECT_EQ(Manager().EnableLogLevel("", "", "debug", 2), 1);
    EXPECT_EQ(Levels(plain->Levels()), "0101");
    EXPECT_EQ(Levels(withZero->Levels()), "1101");
    EXPECT_EQ(Levels(empty->Levels()), "0111");
}

TEST_F(SingleLoggerSwitching, IsZeroWhenTheLoggerRefusesWithoutAMessage) {
    SwitchingLogger& logger = Add("a", "b");
    logger.refuses = true;
    EXPECT_EQ(Manager().EnableLogLevel("a", "b", "debug", 0), 0);
    EXPECT_EQ(Manager().DisableLogLevel("a", "b", "debug", 1), 0);
    EXPECT_THAT(logger.calls, ElementsAre("+0", "-1"));
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(SingleLoggerSwitching, OfALevelWithoutASwitchThrowsAndReleasesTheList) {
    auto* logger = Manager().GetLogger("a", "b", "debug");
    EXPECT_THROW(Manager().EnableLogLevel("a", "b", "debug", 4), std::out_of_range);
    EXPECT_TRUE(IsListFree());
    EXPECT_THROW(Manager().DisableLogLevel("a", "b", "debug", UINT_MAX), std::out_of_range);
    EXPECT_TRUE(IsListFree());
    EXPECT_EQ(Levels(logger->Levels()), "0101");
}

// Callers rely on the exception.
TEST_F(SingleLoggerSwitching, OfAllLevelsAlwaysThrowsForALoggerThatExists) {
    auto* logger = Manager().GetLogger("a", "b", "debug");
    EXPECT_THROW(Manager().EnableLoggerLevels("a", "b", "debug"), std::out_of_range);
    EXPECT_TRUE(IsListFree());
    EXPECT_THROW(Manager().DisableLoggerLevels("a", "b", "debug"), std::out_of_range);
    EXPECT_TRUE(IsListFree());
    EXPECT_EQ(Levels(logger->Levels()), "0101");
    EXPECT_TRUE(logger->EnableLevel(0));
}

class GlobalSwitches : public NS_TEST::SwitchingTest {};

TEST_F(GlobalSwitches, AreReadByLevel) {
    SetLevels("1001");
    EXPECT_TRUE(Manager().IsLogLevelEnabled(0));
    EXPECT_FALSE(Manager().IsLogLevelEnabled(1));
    EXPECT_FALSE(Manager().IsLogLevelEnabled(2));
    EXPECT_TRUE(Manager().IsLogLevelEnabled(3));
}

TEST_F(GlobalSwitches, AreOffAboveLevelThreeEvenWhenAllAreOn) {
    SetLevels("1111");
    for (const uint32_t level : {4U, 5U, 32U, 64U, 2147483648U, UINT_MAX}) {
        EXPECT_FALSE(Manager().IsLogLevelEnabled(level));
    }
}

TEST_F(GlobalSwitches, AreNotThoseOfOneLogger) {
    Manager().GetLogger("a", "b", "debug")->EnableLevel(0);
    EXPECT_FALSE(Manager().IsLogLevelEnabled(0));
}

TEST_F(GlobalSwitches, ComeWithTwoFlagsThatHoldAnyNumber) {
    for (const uint32_t value : {1U, 0U, 2U, UINT_MAX}) {
        Manager().SetEnableAsnLog(value);
        Manager().SetEnableOutputPara(value ^ 3U);
        EXPECT_EQ(Manager().GetEnableAsnLog(), value);
        EXPECT_EQ(Manager().bEnableAsnLog, value);
        EXPECT_EQ(Manager().GetEnableOutputPara(), value ^ 3U);
        EXPECT_EQ(Manager().bLogOutputPara, value ^ 3U);
    }
}

}  // namespace
