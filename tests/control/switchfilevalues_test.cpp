// What the values of the three switch items mean, and what makes the whole reading invalid.
#include "control/switchapplicationfixture.h"

using NS_TEST::MonitorSays;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class SwitchFile : public NS_TEST::SwitchApplicationTest {
  protected:
    // Expects the reading to be refused as a whole: one message, nothing applied.
    void ExpectRefused(const std::string& message) {
        Check();
        EXPECT_THAT(Proxy().Printed(), ElementsAre(MonitorSays(message)));
        EXPECT_EQ(State(), "1111/0/0");
    }
};

class IncompleteSwitchFile : public SwitchFile,
                             public testing::WithParamInterface<std::vector<std::string>> {};

// The message about "bLogOutputPara" names "strEnableOutputPara". Only the first missing item is
// reported.
TEST_P(IncompleteSwitchFile, AppliesNothing) {
    const std::vector<std::string>& items = GetParam();
    NS_TEST::ScriptedConfigItems incomplete;
    for (size_t i = 1; i < items.size(); ++i) {
        incomplete.Set(items[i], items[i] == "logswitch" ? "0,0,0,0" : "1");
    }
    NS_REFERENCE_HOST::SetConfigItems(&incomplete);
    ExpectRefused("[LogSwitchMonitorMgr::Check] call GetValByKey, get " + items[0] +
                  " Info error.\n");
    NS_REFERENCE_HOST::SetConfigItems(&store_);
}

using ItemNames = std::vector<std::string>;

// The name in the message, then the items that are there.
INSTANTIATE_TEST_SUITE_P(
    Items, IncompleteSwitchFile,
    testing::Values(ItemNames{"logswitch"}, ItemNames{"logswitch", "bEnableAsnLog"},
                    ItemNames{"logswitch", "bEnableAsnLog", "bLogOutputPara"},
                    ItemNames{"bEnableAsnLog", "logswitch"},
                    ItemNames{"bEnableAsnLog", "logswitch", "bLogOutputPara"},
                    ItemNames{"strEnableOutputPara", "logswitch", "bEnableAsnLog"},
                    ItemNames{"logswitch", "LogSwitch", "bEnableAsnLog", "bLogOutputPara"}));

TEST_F(SwitchFile, OfThreeLevelsAppliesNothing) {
    Configure("0,0,0", "1", "1");
    ExpectRefused("[LogSwitchMonitorMgr::Check] logswitch Info is invalid.\n");
}

TEST_F(SwitchFile, OfFiveLevelsAppliesNothing) {
    Configure("0,0,0,0,0", "1", "1");
    ExpectRefused("[LogSwitchMonitorMgr::Check] logswitch Info is invalid.\n");
}

TEST_F(SwitchFile, WithOtherSeparatorsAppliesNothing) {
    Configure("0;0;0;0", "1", "1");
    ExpectRefused("[LogSwitchMonitorMgr::Check] logswitch Info is invalid.\n");
}

TEST_F(SwitchFile, WithASeparatorBehindTheLastLevelAppliesNothing) {
    Configure("0,0,0,0,", "1", "1");
    ExpectRefused("[LogSwitchMonitorMgr::Check] logswitch Info is invalid.\n");
}

TEST_F(SwitchFile, WithoutAnyLevelCannotBeSplit) {
    Configure("", "1", "1");
    ExpectRefused("[LogSwitchMonitorMgr::Check] Call SplitStringByTag<> failed\n");
}

TEST_F(SwitchFile, WithBlanksForLevelsCannotBeSplit) {
    Configure(" \t ", "1", "1");
    ExpectRefused("[LogSwitchMonitorMgr::Check] Call SplitStringByTag<> failed\n");
    EXPECT_EQ(Proxy().Printed().at(0).format,
              "[LogSwitchMonitorMgr::Check] Call SplitStringByTag<%s> failed\n");
}

TEST_F(SwitchFile, TrimsItsThreeValues) {
    Configure(" \t1,0,0,0\r\n ", " 1\t", "\t1 ");
    Check();
    EXPECT_EQ(State(), "1000/1/1");
}

TEST_F(SwitchFile, WithAnItemTwiceCountsTheLastOne) {
    store_.Add("logswitch", "0,0,0,1");
    store_.Add("bEnableAsnLog", "1");
    Check();
    EXPECT_EQ(State(), "0001/1/0");
}

struct LevelValue {
    const char* text;
    int means;  // 0 off, 1 on, -1 undefined
};

void PrintTo(const LevelValue& value, std::ostream* out) {
    *out << "'" << NS_TEST::Printable(value.text) << "' means " << value.means;
}

class LevelValues : public SwitchFile, public testing::WithParamInterface<LevelValue> {
  protected:
    static std::string ReportOf(const char* change) {
        return std::string("[LogSwitchMonitorMgr::Check] LogLevel_1") + change + "\n";
    }
};

// Level 1 is tried from on and from off; the levels beside it stay as they are.
TEST_P(LevelValues, AreConvertedLeniently) {
    const std::string item = std::string("1,") + GetParam().text + ",1,1";
    const std::string undefined = ReportOf(" undefined value.");
    for (const char* before : {"1111", "1011"}) {
        Proxy().Forget();
        SetLevels(before);
        Configure(item, "0", "0");
        Check();
        const bool wasOn = before[1] == '1';
        if (GetParam().means == -1) {
            EXPECT_THAT(Proxy().Texts(), ElementsAre(undefined));
            EXPECT_EQ(Levels(), before);
        } else if ((GetParam().means == 1) == wasOn) {
            EXPECT_THAT(Proxy().Texts(), IsEmpty());
            EXPECT_EQ(Levels(), before);
        } else {
            EXPECT_THAT(Proxy().Texts(), ElementsAre(ReportOf(wasOn ? " close " : " open ")));
            EXPECT_EQ(Levels(), wasOn ? "1011" : "1111");
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, LevelValues,
    testing::Values(
        LevelValue{"1", 1}, LevelValue{"0", 0}, LevelValue{"1x", 1}, LevelValue{"0x1", 0},
        LevelValue{"x", 0}, LevelValue{"", 0}, LevelValue{"01", 1}, LevelValue{"+1", 1},
        LevelValue{" 1", 1}, LevelValue{"1 ", 1}, LevelValue{"\t1 0", 1}, LevelValue{"-0", 0},
        LevelValue{"- 1", 0}, LevelValue{"1.9", 1}, LevelValue{"2", -1}, LevelValue{"10", -1},
        LevelValue{"11", -1}, LevelValue{"-1", -1}, LevelValue{"4294967295", -1},
        LevelValue{"4294967296", 0}, LevelValue{"4294967297", 1}, LevelValue{"-4294967295", 1},
        LevelValue{"8589934593", 1}, LevelValue{"2147483649", -1},
        // What a long does not hold counts as the nearest one that it does; of that the
        // lower half counts.
        LevelValue{"99999999999999999999", -1}, LevelValue{"-99999999999999999999", 0}));

// What a flag's value does to a flag that was `before`.
struct FlagValue {
    const char* text;
    uint32_t before;
    uint32_t after;
    const char* message;  // behind the flag's name, null: none
};

void PrintTo(const FlagValue& value, std::ostream* out) {
    *out << "'" << NS_TEST::Printable(value.text) << "' makes " << value.before << " "
         << value.after;
}

class FlagValues : public SwitchFile, public testing::WithParamInterface<FlagValue> {
  protected:
    static std::vector<std::string> Messages(const std::string& flag) {
        if (GetParam().message == nullptr) {
            return {};
        }
        const bool changes = GetParam().after != GetParam().before;
        return {"[LogSwitchMonitorMgr::Check] " + std::string(changes ? "end change " : "") + flag +
                GetParam().message};
    }
};

TEST_P(FlagValues, ChangeTheAsnFlag) {
    Manager().bEnableAsnLog = GetParam().before;
    Configure("1,1,1,1", GetParam().text, "0");
    Check();
    EXPECT_EQ(Manager().bEnableAsnLog, GetParam().after);
    EXPECT_EQ(Proxy().Texts(), Messages("bEnableAsnLog"));
}

// The messages call it bEnableOutputPara.
TEST_P(FlagValues, ChangeTheOutputFlag) {
    Manager().bLogOutputPara = GetParam().before;
    Configure("1,1,1,1", "0", GetParam().text);
    Check();
    EXPECT_EQ(Manager().bLogOutputPara, GetParam().after);
    EXPECT_EQ(Proxy().Texts(), Messages("bEnableOutputPara"));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, FlagValues,
    testing::Values(FlagValue{"1", 0, 1, " = 1 \n"}, FlagValue{"0", 1, 0, " = 0 \n"},
                    FlagValue{"1", 1, 1, nullptr}, FlagValue{"0", 0, 0, nullptr},
                    FlagValue{"1x", 0, 1, " = 1 \n"}, FlagValue{"yes", 1, 0, " = 0 \n"},
                    FlagValue{"", 1, 0, " = 0 \n"}, FlagValue{"", 0, 0, nullptr},
                    FlagValue{"4294967297", 0, 1, " = 1 \n"},
                    FlagValue{"4294967296", 1, 0, " = 0 \n"}, FlagValue{"1", 5, 1, " = 1 \n"},
                    FlagValue{"0", 4294967295U, 0, " = 0 \n"},
                    FlagValue{"-1", 1, 1, "<-1> is invalid.\n"},
                    FlagValue{"2", 0, 0, "<2> is invalid.\n"},
                    // A value that is no switch is refused even when it is the current one.
                    FlagValue{"5", 5, 5, "<5> is invalid.\n"},
                    FlagValue{"2147483648", 1, 1, "<-2147483648> is invalid.\n"},
                    FlagValue{"99999999999999999999", 1, 1, "<-1> is invalid.\n"}));

TEST_F(SwitchFile, WithAnInvalidAsnFlagStillAppliesTheRest) {
    Configure("1,1,1,0", "-1", "1");
    Check();
    EXPECT_EQ(State(), "1110/0/1");
    EXPECT_THAT(
        Proxy().Printed(),
        ElementsAre(
            MonitorSays("[LogSwitchMonitorMgr::Check] LogLevel_3 close \n"),
            MonitorSays("[LogSwitchMonitorMgr::Check] bEnableAsnLog<-1> is invalid.\n"),
            MonitorSays("[LogSwitchMonitorMgr::Check] end change bEnableOutputPara = 1 \n")));
}

TEST_F(SwitchFile, WithAnInvalidOutputFlagStillAppliesTheRest) {
    Configure("1,1,1,1", "1", "2");
    Check();
    EXPECT_EQ(State(), "1111/1/0");
    EXPECT_THAT(
        Proxy().Printed(),
        ElementsAre(
            MonitorSays("[LogSwitchMonitorMgr::Check] end change bEnableAsnLog = 1 \n"),
            MonitorSays("[LogSwitchMonitorMgr::Check] bEnableOutputPara<2> is invalid.\n")));
}

TEST_F(SwitchFile, WithAnUndefinedLevelStillAppliesTheFlags) {
    Configure("7,1,1,1", "1", "1");
    Check();
    EXPECT_EQ(State(), "1111/1/1");
}

}  // namespace
