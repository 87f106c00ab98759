// The manager's beginning and end.
#include <set>

#include "manager/managertest.h"
#include "support/onthreads.h"

using NS_LOG_SERVICE1::LogMgr;
using NS_TEST::Frame;

namespace {

using Lifecycle = NS_TEST::BareManagerTest;

TEST_F(Lifecycle, BeginsWithTheFirstUse) {
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    LogMgr* const manager = LogMgr::Instance();
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(LogMgr::Instance(), manager);
    EXPECT_EQ(LogMgr::InstanceIfAny(), manager);
}

TEST_F(Lifecycle, EndsHarmlesslyWhereThereIsNoManager) {
    LogMgr::DestroyInstance();
    LogMgr::DestroyInstance();
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
}

void ExpectInitialValues(const LogMgr& manager) {
    EXPECT_EQ(manager.logtimeinterval, 60u);
    EXPECT_EQ(manager.queuebuflength, 16384u);
    EXPECT_EQ(manager.filterbuflength, 128u);
    EXPECT_EQ(manager.logfilesize, 20971520u);
    EXPECT_EQ(manager.logfilecount, 10000u);
    EXPECT_EQ(manager.outputTask, 0);
    EXPECT_EQ(manager.outputmode, 0u);
    EXPECT_EQ(manager.bEnableAsnLog, 0u);
    EXPECT_EQ(manager.bLogOutputPara, 0u);
    EXPECT_EQ(manager.levelSwitches.Get().to_ulong(), 0u);
}

TEST_F(Lifecycle, BeginsWithTheInitialValues) {
    ExpectInitialValues(Manager());
}

TEST_F(Lifecycle, BeginsAnewAfterItsEnd) {
    Manager().logtimeinterval = 1;
    Manager().queuebuflength = 2;
    Manager().filterbuflength = 3;
    Manager().logfilesize = 4;
    Manager().logfilecount = 5;
    Manager().outputTask = 6;
    Manager().outputmode = 7;
    Manager().bEnableAsnLog = 1;
    Manager().bLogOutputPara = 9;
    Manager().levelSwitches = NS_LOG_SERVICE1::LevelSwitches(15);
    Manager().CreateChannels();
    Manager().GetLogger("a", "b", "debug");
    LogMgr::DestroyInstance();
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);

    ExpectInitialValues(Manager());
    int left = 0;
    Manager().Loggers().ForEach([&left](NS_LOG_SERVICE1::Logger&) { ++left; });
    Manager().Channels().ForEach(
        [&left](const std::string&, NS_LOG_SERVICE1::TEDebugInfoBuf&) { ++left; });
    EXPECT_EQ(left, 0);
}

TEST_F(Lifecycle, WritesQueuedRecordsBeforeItClosesTheFiles) {
    Manager().CreateChannels();
    Manager().outputmode = 1;
    Manager().GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, -1, "first");
    Manager().GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, -1, "second");
    Manager().GetLogger("a", "b", "corbasys")->Log("f.cpp", "Run", 7, -1, "elsewhere");
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
    LogMgr::DestroyInstance();
    EXPECT_EQ(Written("debug"),
              Frame(1, -1, "first") + Frame(2, -1, "second") + "\nFile close at STAMP.\n");
    EXPECT_EQ(Written("corbasys"), Frame(1, -1, "elsewhere") + "\nFile close at STAMP.\n");
}

// Each channel is written out once more at its end, and that opens its file.
TEST_F(Lifecycle, LeavesAFileForEachChannelEvenWithoutARecord) {
    Manager().CreateChannels();
    LogMgr::DestroyInstance();
    EXPECT_EQ(NS_TEST::ListFiles(Path("log")).size(), 7u);
    EXPECT_EQ(Written("corba_alarm"), "\nFile close at STAMP.\n");
}

TEST_F(Lifecycle, LosesWhatIsStillKeptBack) {
    Manager().CreateChannels();
    Manager().GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, 1, "kept back");
    Manager().GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, -1, "written");
    LogMgr::DestroyInstance();
    EXPECT_EQ(Written("debug"), Frame(1, -1, "written") + "\nFile close at STAMP.\n");
}

TEST_F(Lifecycle, DeletesTheLoggersFrontToBackThroughTheirDestructors) {
    class Witness : public NS_LOG_SERVICE1::Logger {
      public:
        Witness(const std::string& first, std::vector<std::string>& gone)
            : Logger(first, "", "debug", *LogMgr::Instance(), LogMgr::Instance()->Channels()),
              gone_(gone) {}
        ~Witness() override { gone_.push_back(First()); }

      private:
        std::vector<std::string>& gone_;
    };
    std::vector<std::string> gone;
    Manager().CreateChannels();
    for (const char* first : {"one", "two", "three"}) {
        Manager().Loggers().FindOrAdd({first, "", "debug"}, [first, &gone] {
            return std::make_unique<Witness>(first, gone);
        });
    }
    LogMgr::DestroyInstance();
    EXPECT_THAT(gone, testing::ElementsAre("one", "two", "three"));
}

TEST_F(Lifecycle, NumbersRecordsFromOneAgainInANewLife) {
    for (int life = 0; life < 3; ++life) {
        Manager().CreateChannels();
        Manager().GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, -1, "text");
        EXPECT_THAT(Written("debug"), testing::EndsWith(Frame(1, -1, "text")));
        LogMgr::DestroyInstance();
    }
}

TEST_F(Lifecycle, BeginsOnceForManyThreads) {
    for (int round = 0; round < 50; ++round) {
        LogMgr::DestroyInstance();
        std::vector<LogMgr*> seen(8);
        NS_TEST::OnThreads(seen.size(), [&](size_t thread) { seen[thread] = LogMgr::Instance(); });
        EXPECT_EQ(std::set<LogMgr*>(seen.begin(), seen.end()),
                  std::set<LogMgr*>{LogMgr::InstanceIfAny()});
    }
}

TEST_F(Lifecycle, LetsOthersInAfterItsEnd) {
    Manager();
    LogMgr::DestroyInstance();
    EXPECT_TRUE(NS_TEST::EndsOnAnotherThread([] { LogMgr::Instance(); }));
}

}  // namespace
