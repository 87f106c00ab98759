// The whole way of a change: from the configuration file to what the service does.
#include <atomic>
#include <thread>

#include "control/monitorfixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class SwitchFileChange : public NS_TEST::MonitorTest {
  protected:
    // The store is the one over the file.
    SwitchFileChange() {
        NS_REFERENCE_HOST::SetConfigItems(nullptr);
        NS_TEST::WriteFile(configFile_, Text("1,1,1,1", "0", "0"));
        SetTime(kBaseline);
    }

    static std::string Text(const std::string& levels, const std::string& asnLog,
                            const std::string& outputPara) {
        return "# switches\nlogswitch = " + levels + "\nbEnableAsnLog=" + asnLog +
               "\n  bLogOutputPara =  " + outputPara + "  \nother = 1\n";
    }

    static std::string State() {
        return Levels() + "/" + std::to_string(Manager().bEnableAsnLog.Get()) + "/" +
               std::to_string(Manager().bLogOutputPara.Get());
    }
};

TEST_F(SwitchFileChange, ByRenamingANewFileIsApplied) {
    ASSERT_EQ(monitor_.Init(), 0);
    Replace(Text("0,1,0,1", "1", "1"), kBaseline + 1);
    AwaitFullPass();
    EXPECT_EQ(State(), "0101/1/1");
    EXPECT_THAT(Proxy().Texts(),
                ElementsAre("[LogSwitchMonitorMgr::Check] LogLevel_0 close LogLevel_2 close \n",
                            "[LogSwitchMonitorMgr::Check] end change bEnableAsnLog = 1 \n",
                            "[LogSwitchMonitorMgr::Check] end change bEnableOutputPara = 1 \n"));
}

TEST_F(SwitchFileChange, ByRenamingANewFileWithTheSameTimeIsNotSeen) {
    ASSERT_EQ(monitor_.Init(), 0);
    Replace(Text("0,0,0,0", "1", "1"), kBaseline);
    AwaitFullPass();
    EXPECT_EQ(State(), "1111/0/0");
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(SwitchFileChange, ByWritingInPlaceIsApplied) {
    ASSERT_EQ(monitor_.Init(), 0);
    NS_TEST::WriteFile(configFile_, Text("1,1,0,0", "1", "0"));
    SetTime(kBaseline + 1);
    AwaitFullPass();
    EXPECT_EQ(State(), "1100/1/0");
}

TEST_F(SwitchFileChange, BackAndForthIsAppliedEachTime) {
    ASSERT_EQ(monitor_.Init(), 0);
    for (int change = 1; change <= 6; ++change) {
        const bool off = change % 2 == 1;
        Replace(off ? Text("0,0,0,0", "1", "1") : Text("1,1,1,1", "0", "0"), kBaseline + change);
        AwaitFullPass();
        EXPECT_EQ(State(), off ? "0000/1/1" : "1111/0/0");
    }
}

TEST_F(SwitchFileChange, ThatTakesAnItemAwayAppliesNothing) {
    ASSERT_EQ(monitor_.Init(), 0);
    Replace("logswitch = 0,0,0,0\nbLogOutputPara = 1\n", kBaseline + 1);
    AwaitFullPass();
    EXPECT_EQ(State(), "1111/0/0");
    EXPECT_THAT(Proxy().Texts(), ElementsAre("[LogSwitchMonitorMgr::Check] call GetValByKey, get "
                                             "bEnableAsnLog Info error.\n"));
}

// The three values of one application come from one file, however fast the files change.
TEST_F(SwitchFileChange, IsNeverAppliedInParts) {
    std::atomic<bool> done{false};
    std::thread administrator([&] {
        for (int change = 1; !done; ++change) {
            Replace(change % 2 == 1 ? Text("0,0,0,0", "1", "1") : Text("1,1,1,1", "0", "0"),
                    kBaseline + change);
        }
    });
    int inParts = 0;
    int changes = 0;
    std::string previous = State();
    for (int i = 0; i < 100000 && changes < 50; ++i) {
        monitor_.Check();
        const std::string state = State();
        inParts += state == "0000/1/1" || state == "1111/0/0" ? 0 : 1;
        changes += state == previous ? 0 : 1;
        previous = state;
    }
    done = true;
    administrator.join();
    EXPECT_EQ(inParts, 0);
    EXPECT_EQ(changes, 50);
}

TEST_F(SwitchFileChange, ReachesALoggerThatAClientHolds) {
    Manager().CreateChannels();
    auto* logger = Manager().GetLogger("a", "b", "debug");
    ASSERT_EQ(monitor_.Init(), 0);
    Replace(Text("1,1,0,1", "0", "0"), kBaseline + 1);
    AwaitFullPass();
    EXPECT_EQ(Levels(logger->Levels()), "1101");
    logger->Log("file", "function", 1, 2, "kept back");
    EXPECT_THAT(NS_TEST::ListFiles(Path("log")), IsEmpty());
}

}  // namespace
