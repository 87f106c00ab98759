// What the service makes of its configuration items at start.
#include <climits>

#include "control/configurationfixture.h"

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class Configuration : public NS_TEST::ConfigurationTest {};

TEST_F(Configuration, FillsEverySettingFromItsItem) {
    FillStore();

    EXPECT_TRUE(Init());

    EXPECT_EQ(Manager().logfilesize, 1001U);
    EXPECT_EQ(Manager().logfilecount, 1002U);
    EXPECT_EQ(Manager().queuebuflength, 1003U);
    EXPECT_EQ(Manager().filterbuflength, 1004U);
    EXPECT_EQ(Manager().logtimeinterval, 1005U);
    EXPECT_EQ(Levels(), "0110");
    EXPECT_EQ(Manager().outputmode, 0U);
    EXPECT_EQ(Manager().outputTask, -1);
    EXPECT_EQ(Manager().bEnableAsnLog, 6U);
    EXPECT_EQ(Manager().bLogOutputPara, 7U);
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(Configuration, IsReadInAFixedOrder) {
    FillStore();
    Init();
    EXPECT_THAT(store_.Asked(), ElementsAre("logfilesize", "logfilecount", "queuebuflength",
                                            "filterbuflength", "logtimeinterval", "logswitch",
                                            "outputmode", "bEnableAsnLog", "bLogOutputPara"));
}

TEST_F(Configuration, CreatesTheChannelsBetweenTheSizesAndTheRest) {
    FillStore();
    store_.OnAsked("filterbuflength", [] { EXPECT_THAT(Capacities(), IsEmpty()); });
    std::vector<std::string> afterSizes;
    store_.OnAsked("logtimeinterval", [&] { afterSizes = Capacities(); });

    Init();

    EXPECT_THAT(afterSizes, SizeIs(7));
    EXPECT_THAT(afterSizes, Each("1003/1004"));
    EXPECT_EQ(Capacities(), afterSizes);
}

TEST_F(Configuration, OfNothingAtAllConsistsOfDefaults) {
    SetLevels("0000");

    EXPECT_TRUE(Init());

    EXPECT_EQ(Manager().logfilesize, 4194304U);
    EXPECT_EQ(Manager().logfilecount, 100U);
    EXPECT_EQ(Manager().queuebuflength, 16384U);
    EXPECT_EQ(Manager().filterbuflength, 128U);
    EXPECT_EQ(Manager().logtimeinterval, 1U);
    EXPECT_EQ(Levels(), "1111");
    EXPECT_EQ(Manager().outputmode, 0U);
    EXPECT_EQ(Manager().outputTask, -1);
    EXPECT_EQ(Manager().bEnableAsnLog, 1U);
    EXPECT_EQ(Manager().bLogOutputPara, 0U);
    EXPECT_THAT(Capacities(), SizeIs(7));
    EXPECT_THAT(Capacities(), Each("16384/128"));
}

// There is no message about "logswitch", and the one about "bEnableAsnLog" names "outputmode".
TEST_F(Configuration, ReportsEachMissingItemButTheLevelSwitchesInOrder) {
    Init();
    const auto is = [](const char* text) { return NS_TEST::IsDiagnostic(1, "logimpl", text); };
    EXPECT_THAT(Proxy().Printed(), ElementsAre(is("\nGet Config Item(logfilesize) failed !!\n"),
                                               is("\nGet Config Item(logfilecount) failed !!\n"),
                                               is("\nGet Config Item(queuebuflength) failed !!\n"),
                                               is("\nGet Config Item(filterbuflength) failed !!\n"),
                                               is("\nGet Config Item(logtimeinterval) failed !!\n"),
                                               is("\nGet Config Item(outputmode) failed !!\n"),
                                               is("\nGet Config Item(outputmode) failed !!\n"),
                                               is("\nGet Config Item(LogOutputPara) failed !!\n")));
}

TEST_F(Configuration, AsksForTheNextItemAfterAMissingOneWasReported) {
    std::vector<std::string> reported;
    store_.OnAsked("logfilecount", [&] { reported = Proxy().Texts(); });
    Init();
    EXPECT_THAT(reported, ElementsAre("\nGet Config Item(logfilesize) failed !!\n"));
}

TEST_F(Configuration, TakesNegativeSizesAsTheLargeNumbersThatTheyAreUnsigned) {
    FillStore();
    store_.Set("logfilesize", "-1");
    store_.Set("logfilecount", "-2147483648");
    store_.Set("queuebuflength", "-1");
    store_.Set("filterbuflength", "-2");
    store_.Set("logtimeinterval", "-3");

    EXPECT_TRUE(Init());

    EXPECT_EQ(Manager().logfilesize, 4294967295U);
    EXPECT_EQ(Manager().logfilecount, 2147483648U);
    EXPECT_EQ(Manager().queuebuflength, 4294967295U);
    EXPECT_EQ(Manager().filterbuflength, 4294967294U);
    EXPECT_EQ(Manager().logtimeinterval, 4294967293U);
    EXPECT_THAT(Capacities(), Each("4294967295/4294967294"));
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(Configuration, TakesSizesOfZeroAsTheyAre) {
    FillStore();
    for (const char* name : {"logfilesize", "logfilecount", "queuebuflength", "filterbuflength",
                             "logtimeinterval", "bEnableAsnLog"}) {
        store_.Set(name, "0");
    }

    EXPECT_TRUE(Init());

    EXPECT_EQ(Manager().logfilesize, 0U);
    EXPECT_EQ(Manager().logfilecount, 0U);
    EXPECT_THAT(Capacities(), Each("0/0"));
    EXPECT_EQ(Manager().logtimeinterval, 0U);
    EXPECT_EQ(Manager().bEnableAsnLog, 0U);
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(Configuration, TakesTheTwoFlagsWithoutARangeCheck) {
    FillStore();
    store_.Set("bEnableAsnLog", "-1");
    store_.Set("bLogOutputPara", "-7");

    EXPECT_TRUE(Init());

    EXPECT_EQ(Manager().bEnableAsnLog, 4294967295U);
    EXPECT_EQ(Manager().bLogOutputPara, 4294967289U);
    EXPECT_EQ(service_.IsLogOutputPara(), 4294967289U);
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

struct LevelText {
    std::string item;
    std::string levels;
};

void PrintTo(const LevelText& text, std::ostream* out) {
    *out << "'" << NS_TEST::Printable(text.item) << "' gives " << text.levels;
}

class ConfiguredLevels : public Configuration, public testing::WithParamInterface<LevelText> {};

// Looked at are the characters at 0, 2, 4 and 6 and nothing else; one that is not there is no '0'.
TEST_P(ConfiguredLevels, AreOffWhereAZeroStandsAtTheirPosition) {
    std::string opposite;
    for (const char level : GetParam().levels) {
        opposite += level == '0' ? '1' : '0';
    }
    SetLevels(opposite);
    store_.Set("logswitch", GetParam().item);

    EXPECT_TRUE(Init());

    EXPECT_EQ(Levels(), GetParam().levels);
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, ConfiguredLevels,
    testing::Values(LevelText{"1,1,0,0", "1100"}, LevelText{"0,0,0,0", "0000"},
                    LevelText{"1,0,1,0", "1010"}, LevelText{"1,1,1,1", "1111"},
                    LevelText{"", "1111"}, LevelText{"0", "0111"}, LevelText{"0,", "0111"},
                    LevelText{"0,0", "0011"}, LevelText{"0,1,0", "0101"},
                    LevelText{"0,0,0", "0001"}, LevelText{"0,0,0,", "0001"},
                    LevelText{"0000000", "0000"}, LevelText{"1010101", "1111"},
                    LevelText{"0;0 0/0", "0000"}, LevelText{"0,0,0,0,1,1", "0000"},
                    LevelText{"1,1,1,01", "1110"}, LevelText{"00,0,0,0", "0111"},
                    LevelText{" 0,0,0,0", "1111"}, LevelText{"2,x, ,-", "1111"},
                    LevelText{"-0,-0,-0", "1101"}, LevelText{std::string("\0,0,0,0", 7), "1000"}));

TEST_F(Configuration, SaysNothingAboutOddLevelSwitches) {
    FillStore();
    store_.Set("logswitch", "what?");
    Init();
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

class ConfiguredOutputMode : public Configuration {
  protected:
    // Starts with the mode and the task of an earlier life.
    ConfiguredOutputMode() {
        FillStore();
        Manager().outputmode = 5;
        Manager().outputTask = 77;
    }

    void Expect(uint32_t mode, int64_t task) {
        EXPECT_TRUE(Init());
        EXPECT_EQ(Manager().outputmode, mode);
        EXPECT_EQ(Manager().outputTask, task);
    }
};

TEST_F(ConfiguredOutputMode, ZeroIsDirectOutputWithoutATask) {
    Expect(0, -1);
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(ConfiguredOutputMode, OneLeavesModeAndTaskAlone) {
    store_.Set("outputmode", "1");
    Expect(5, 77);
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(Configuration, OfOutputModeOneLeavesWhatTheManagerStartsWith) {
    FillStore();
    store_.Set("outputmode", "1");
    EXPECT_TRUE(Init());
    EXPECT_EQ(Manager().outputmode, 0U);
    EXPECT_EQ(Manager().outputTask, 0);
}

TEST_F(ConfiguredOutputMode, TwoIsMeaninglessAndTakenAsZero) {
    store_.Set("outputmode", "2");
    Expect(0, -1);
    EXPECT_THAT(Proxy().Printed(),
                ElementsAre(NS_TEST::IsDiagnostic(
                    1, "logimpl", "\nlog output mode value : 2, it is meaningless !!\n")));
    EXPECT_EQ(Proxy().Printed().at(0).format,
              "\nlog output mode value : %d, it is meaningless !!\n");
}

TEST_F(ConfiguredOutputMode, MinusOneIsMeaninglessAndTakenAsZero) {
    store_.Set("outputmode", "-1");
    Expect(0, -1);
    EXPECT_THAT(Proxy().Texts(),
                ElementsAre("\nlog output mode value : -1, it is meaningless !!\n"));
}

TEST_F(ConfiguredOutputMode, OfTheLargestNumberIsMeaninglessAndTakenAsZero) {
    store_.Set("outputmode", std::to_string(INT_MAX));
    Expect(0, -1);
    EXPECT_THAT(Proxy().Texts(),
                ElementsAre("\nlog output mode value : 2147483647, it is meaningless !!\n"));
}

TEST_F(Configuration, WithoutAnOutputModeMeansDirectOutputWithoutATask) {
    Manager().outputmode = 5;
    Manager().outputTask = 77;
    EXPECT_TRUE(Init());
    EXPECT_EQ(Manager().outputmode, 0U);
    EXPECT_EQ(Manager().outputTask, -1);
}

TEST_F(Configuration, IsFollowedByTheStartOfTheMonitor) {
    FillStore();
    store_.OnAsked("bLogOutputPara", [] { EXPECT_FALSE(IsMonitorRunning()); });
    EXPECT_TRUE(Init());
    EXPECT_TRUE(IsMonitorRunning());
}

TEST_F(Configuration, CountsAsReadEvenWhenTheMonitorCannotStart) {
    FillStore();
    std::filesystem::remove(configFile_);

    EXPECT_TRUE(Init());

    EXPECT_FALSE(IsMonitorRunning());
    EXPECT_THAT(Proxy().Printed(), ElementsAre(NS_TEST::IsDiagnostic(
                                       1, "logswitchmonitormgr",
                                       "[LogSwitchMonitorMgr::Init] CALL ACE_OS::stat failed!")));
}

}  // namespace
