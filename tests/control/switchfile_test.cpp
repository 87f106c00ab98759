// What the values of the three switch items mean, which of them are applied and
// in which order, and what is said about it.
#include <map>
#include <stdexcept>

#include "support/servicefixture.h"
#include "support/switchinglogger.h"
#include "support/waiting.h"

using namespace NS_TEST;
using namespace testing;

namespace {

class SwitchFile : public NS_TEST::ServiceTest {
  protected:
    // All levels are on, both flags are 0, and so says the configuration.
    SwitchFile() {
        SetLevels("1111");
        Manager().CreateChannels();
        Configure("1,1,1,1", "0", "0");
    }

    void Configure(const std::string& levels, const std::string& asnLog,
                   const std::string& outputPara) {
        store_.Set("logswitch", levels);
        store_.Set("bEnableAsnLog", asnLog);
        store_.Set("bLogOutputPara", outputPara);
    }

    // Applies the configuration. Expects the service to be in this state afterwards, and the
    // monitor to have said this, behind its name, and nothing else.
    void CheckAndExpect(const std::string& state, const std::vector<std::string>& says) {
        Proxy().Forget();
        monitor_.Check();
        EXPECT_EQ(State(), state);
        std::vector<testing::Matcher<PrintedDiagnostic>> expected;
        for (const std::string& text : says) {
            expected.push_back(
                IsDiagnostic(1, "logswitchmonitormgr", "[LogSwitchMonitorMgr::Check] " + text));
        }
        EXPECT_THAT(Proxy().Printed(), ElementsAreArray(expected));
    }

    NS_LOG_SERVICE1::LogSwitchMonitorMgr monitor_;
};

struct Application {
    const char* before;  // the levels
    const char* configured;
    const char* after;
    std::vector<std::string> calls;  // that switch each logger
    const char* report;              // null: none
};

// The pieces of a report run together; there is no blank behind an undefined value.
TEST_F(SwitchFile, SwitchesEachLevelThatDiffersInAscendingOrderAndSaysSo) {
    const Application kApplications[] = {
        {"1111", "1,1,1,1", "1111", {}, nullptr},
        {"1111", "0,1,1,1", "0111", {"-0"}, "LogLevel_0 close \n"},
        {"1110", "1,1,1,1", "1111", {"+3"}, "LogLevel_3 open \n"},
        {"0111", "1,1,0,1", "1101", {"+0", "-2"}, "LogLevel_0 open LogLevel_2 close \n"},
        {"0101",
         "1,0,1,0",
         "1010",
         {"+0", "-1", "+2", "-3"},
         "LogLevel_0 open LogLevel_1 close LogLevel_2 open LogLevel_3 close \n"},
        {"1100",
         "2,0,-1,1",
         "1001",
         {"-1", "+3"},
         "LogLevel_0 undefined value.LogLevel_1 close LogLevel_2 undefined value."
         "LogLevel_3 open \n"},
    };
    SwitchingLogger& debug = AddSwitchingLogger("a", "b");
    SwitchingLogger& system = AddSwitchingLogger("a", "b", "corbasys");
    for (const Application& application : kApplications) {
        SCOPED_TRACE(application.configured);
        SetLevels(application.before);
        debug.calls.clear();
        system.calls.clear();
        Configure(application.configured, "0", "0");
        std::vector<std::string> says;
        if (application.report != nullptr) {
            says.emplace_back(application.report);
        }
        CheckAndExpect(application.after + std::string("/0/0"), says);
        EXPECT_EQ(debug.calls, application.calls);
        EXPECT_EQ(system.calls, application.calls);
    }
    EXPECT_EQ(Levels(Manager().GetLogger("c", "d", "corbaoper")->Levels()), "1001");
}

TEST_F(SwitchFile, ReportsAnUndefinedValueEachTimeAndAChangeOnce) {
    Configure("2,1,1,0", "0", "0");
    CheckAndExpect("1110/0/0", {"LogLevel_0 undefined value.LogLevel_3 close \n"});
    EXPECT_EQ(Proxy().Printed().at(0).format, "[LogSwitchMonitorMgr::Check] %s\n");
    CheckAndExpect("1110/0/0", {"LogLevel_0 undefined value.\n"});
}

// The global switch of a level decides whether anything is to be done, not those of the loggers.
TEST_F(SwitchFile, LeavesALoggerAloneThatDiffersFromAGlobalSwitchThatHolds) {
    SwitchingLogger& logger = AddSwitchingLogger("a", "b");
    logger.Logger::DisableLevel(1);
    CheckAndExpect("1111/0/0", {});
    EXPECT_EQ(Levels(logger.Levels()), "1011");
}

TEST_F(SwitchFile, SwitchesTheGlobalLevelBeforeTheLoggers) {
    std::vector<std::string> seen;
    AddSwitchingLogger("a", "b").onSwitched = [&seen] { seen.push_back(Levels()); };
    Configure("1,0,1,0", "0", "0");
    monitor_.Check();
    EXPECT_THAT(seen, ElementsAre("1011", "1010"));
}

TEST_F(SwitchFile, KeepsTheGlobalLevelWhenALoggerRefuses) {
    SwitchingLogger& refusing = AddSwitchingLogger("a", "b");
    SwitchingLogger& willing = AddSwitchingLogger("c", "d");
    refusing.refuses = true;
    Configure("0,1,1,1", "0", "0");
    monitor_.Check();
    EXPECT_EQ(Levels(), "0111");
    EXPECT_EQ(Levels(willing.Levels()), "0111");
    EXPECT_EQ(Levels(refusing.Levels()), "1111");
    EXPECT_THAT(Proxy().Texts(),
                ElementsAre(StartsWith("[LogMgr::DisableAllLogLevel] Disable a, b, "),
                            "[LogSwitchMonitorMgr::Check] LogLevel_0 close \n"));
}

TEST_F(SwitchFile, EndsWithTheExceptionOfALogger) {
    SwitchingLogger& logger = AddSwitchingLogger("a", "b");
    logger.onSwitched = [] { throw std::runtime_error("broken"); };
    Configure("0,0,1,1", "1", "1");
    EXPECT_THROW(monitor_.Check(), std::runtime_error);
    EXPECT_EQ(State(), "0111/0/0");
    logger.onSwitched = nullptr;
    EXPECT_TRUE(FinishesOnAnotherThread([] { Manager().SwitchLevel(1, true); }));
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(SwitchFile, PassesOnWhatTheStoreThrowsAndAppliesNothing) {
    Configure("0,0,0,0", "1", "1");
    store_.OnAllAsked(RaiseStoreOutOfReach);
    EXPECT_THROW(monitor_.Check(), NS_BUNDLEMGR1::InterfaceNotExistException);
    store_.OnAllAsked([] { throw 42; });
    EXPECT_THROW(monitor_.Check(), int);
    EXPECT_EQ(State(), "1111/0/0");
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(SwitchFile, ReadsTheConfigurationOnceAndLeavesItsOtherItemsAlone) {
    for (const char* other : {"logfilesize", "queuebuflength", "outputmode"}) {
        store_.Set(other, "1");
    }
    CheckAndExpect("1111/0/0", {});
    EXPECT_EQ(store_.AllAsked(), 1);
    EXPECT_THAT(store_.Asked(), IsEmpty());
    EXPECT_EQ(Manager().logfilesize, 20971520U);
    EXPECT_EQ(Manager().queuebuflength, 16384U);
    EXPECT_EQ(Manager().outputmode, 0U);
}

// The last report names an item that does not exist. Only the first missing item is reported.
TEST_F(SwitchFile, WithoutOneOfItsItemsAppliesNothing) {
    struct Missing {
        const char* reported;
        std::vector<std::string> present;
    };
    const Missing kMissing[] = {
        {"logswitch", {}},
        {"logswitch", {"bEnableAsnLog"}},
        {"logswitch", {"bEnableAsnLog", "bLogOutputPara"}},
        {"logswitch", {"LogSwitch", "bEnableAsnLog", "bLogOutputPara"}},
        {"bEnableAsnLog", {"logswitch"}},
        {"bEnableAsnLog", {"logswitch", "bLogOutputPara"}},
        {"strEnableOutputPara", {"logswitch", "bEnableAsnLog"}},
    };
    for (const Missing& missing : kMissing) {
        SCOPED_TRACE(testing::PrintToString(missing.present));
        ScriptedConfigItems incomplete;
        for (const std::string& item : missing.present) {
            incomplete.Set(item, item == "logswitch" ? "0,0,0,0" : "1");
        }
        NS_REFERENCE_HOST::SetConfigItems(&incomplete);
        CheckAndExpect("1111/0/0", {std::string("call GetValByKey, get ") + missing.reported +
                                    " Info error.\n"});
        NS_REFERENCE_HOST::SetConfigItems(&store_);
    }
}

TEST_F(SwitchFile, WithoutExactlyFourLevelsAppliesNothing) {
    for (const char* levels : {"0,0,0", "0,0,0,0,0", "0;0;0;0", "0,0,0,0,", "0"}) {
        SCOPED_TRACE(levels);
        Configure(levels, "1", "1");
        CheckAndExpect("1111/0/0", {"logswitch Info is invalid.\n"});
    }
    for (const char* blank : {"", " \t "}) {
        Configure(blank, "1", "1");
        CheckAndExpect("1111/0/0", {"Call SplitStringByTag<> failed\n"});
        EXPECT_EQ(Proxy().Printed().at(0).format,
                  "[LogSwitchMonitorMgr::Check] Call SplitStringByTag<%s> failed\n");
    }
}

TEST_F(SwitchFile, TrimsItsThreeValues) {
    Configure(" \t1,0,0,0\r\n ", " 1\t", "\t1 ");
    monitor_.Check();
    EXPECT_EQ(State(), "1000/1/1");
}

TEST_F(SwitchFile, WithAnItemTwiceCountsTheLastOne) {
    store_.Add("logswitch", "0,0,0,1");
    store_.Add("bEnableAsnLog", "1");
    monitor_.Check();
    EXPECT_EQ(State(), "0001/1/0");
}

// Level 1 is tried from on and from off; the levels beside it stay as they are.
TEST_F(SwitchFile, ConvertsLevelsLeniently) {
    enum Meaning { kOff, kOn, kUndefined };
    // 32 bits are kept of a long. What a long does not hold is the nearest one that it does.
    const std::map<Meaning, std::vector<std::string>> kValues = {
        {kOn, {"1", "1x", "01", "+1", " 1", "1 ", "\t1 0", "1.9", "4294967297", "-4294967295"}},
        {kOff, {"0", "0x1", "x", "", "-0", "- 1", "4294967296", "-99999999999999999999"}},
        {kUndefined, {"2", "10", "-1", "2147483649", "4294967295", "99999999999999999999"}}};
    for (const auto& [meaning, values] : kValues) {
        for (const std::string& value : values) {
            for (const bool wasOn : {true, false}) {
                SCOPED_TRACE(value + (wasOn ? " from on" : " from off"));
                SetLevels(wasOn ? "1111" : "1011");
                Configure("1," + value + ",1,1", "0", "0");
                const bool isOn = meaning == kUndefined ? wasOn : meaning == kOn;
                std::vector<std::string> says;
                if (meaning == kUndefined) {
                    says = {"LogLevel_1 undefined value.\n"};
                } else if (isOn != wasOn) {
                    says = {isOn ? "LogLevel_1 open \n" : "LogLevel_1 close \n"};
                }
                CheckAndExpect(isOn ? "1111/0/0" : "1011/0/0", says);
            }
        }
    }
}

// The report calls the second flag bEnableOutputPara.
TEST_F(SwitchFile, ConvertsFlagsLenientlyAndRefusesWhatIsNoSwitch) {
    struct FlagValue {
        const char* text;
        uint32_t before;
        uint32_t after;
        const char* report;  // behind the flag's name; null: none
    };
    const FlagValue kValues[] = {
        {"1", 0, 1, " = 1 \n"},
        {"0", 1, 0, " = 0 \n"},
        {"1", 1, 1, nullptr},
        {"0", 0, 0, nullptr},
        {"1x", 0, 1, " = 1 \n"},
        {"yes", 1, 0, " = 0 \n"},
        {"", 1, 0, " = 0 \n"},
        {"", 0, 0, nullptr},
        {"4294967297", 0, 1, " = 1 \n"},
        {"4294967296", 1, 0, " = 0 \n"},
        {"1", 5, 1, " = 1 \n"},
        {"0", 4294967295U, 0, " = 0 \n"},
        {"-1", 1, 1, "<-1> is invalid.\n"},
        {"2", 0, 0, "<2> is invalid.\n"},
        // A value that is no switch is refused even when it is the current one.
        {"5", 5, 5, "<5> is invalid.\n"},
        {"2147483648", 1, 1, "<-2147483648> is invalid.\n"},
        {"99999999999999999999", 1, 1, "<-1> is invalid.\n"},
    };
    for (const FlagValue& value : kValues) {
        SCOPED_TRACE(value.text);
        const std::string change = value.before != value.after ? "end change " : "";
        const std::string after = std::to_string(value.after);
        const auto says = [&](const char* flag) {
            return value.report == nullptr ? std::vector<std::string>()
                                           : std::vector<std::string>{change + flag + value.report};
        };
        Manager().bEnableAsnLog = value.before;
        Manager().bLogOutputPara = 0;
        Configure("1,1,1,1", value.text, "0");
        CheckAndExpect("1111/" + after + "/0", says("bEnableAsnLog"));
        Manager().bEnableAsnLog = 0;
        Manager().bLogOutputPara = value.before;
        Configure("1,1,1,1", "0", value.text);
        CheckAndExpect("1111/0/" + after, says("bEnableOutputPara"));
    }
}

TEST_F(SwitchFile, IsAppliedInAFixedOrderPastWhatIsInvalid) {
    Configure("1,1,1,0", "1", "1");
    CheckAndExpect("1110/1/1", {"LogLevel_3 close \n", "end change bEnableAsnLog = 1 \n",
                                "end change bEnableOutputPara = 1 \n"});
    CheckAndExpect("1110/1/1", {});
    Configure("1,1,0,0", "-1", "0");
    CheckAndExpect("1100/1/0", {"LogLevel_2 close \n", "bEnableAsnLog<-1> is invalid.\n",
                                "end change bEnableOutputPara = 0 \n"});
    Configure("7,1,0,0", "0", "2");
    CheckAndExpect("1100/0/0", {"LogLevel_0 undefined value.\n", "end change bEnableAsnLog = 0 \n",
                                "bEnableOutputPara<2> is invalid.\n"});
}

}  // namespace
