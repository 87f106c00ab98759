// What the maintenance interface shows and changes, but for queued output.

#include <gmock/gmock.h>
#include <pthread.h>

#include <cerrno>
#include <filesystem>
#include <thread>

#include "control/maintenanceservice.h"
#include "maintenance/maintenancefixture.h"

namespace NS_TEST {
namespace {

using namespace NS_LOG_SERVICE1;
using namespace testing;

class MaintenanceInterface : public MaintenanceTest {};

TEST_F(MaintenanceInterface, IsOfferedFromInitToFini) {
    EXPECT_EQ(Found(), nullptr);
    Start();
    ASSERT_NE(Found(), nullptr);
    EXPECT_TRUE(Found()->IsValid());
    EXPECT_EQ(Found()->GetIFName(), "LogMaintenanceInterface");
    EXPECT_EQ(Found()->GetVersion(), 2U);
    const auto* const first = Found();
    MaintenanceService::Start();
    EXPECT_EQ(Found(), first) << "one that stands already is kept";
    EXPECT_THAT(NS_BUNDLEMGR1::CheckIFBuf("LogMaintenanceInterface"), SizeIs(1));
    Stop();
    EXPECT_EQ(Found(), nullptr);
}

TEST_F(MaintenanceInterface, IsNotOfferedWhenTheServiceDoesNotStart) {
    store_.OnAsked("logfilesize", RaiseStoreOutOfReach);
    Start(-1);
    EXPECT_EQ(Found(), nullptr);
}

TEST_F(MaintenanceInterface, FlushesEveryCategory) {
    Start();
    Manager().outputmode = 1;
    Log(1, "queued");
    Manager().GetLogger("a", "b", "debug")->Log("f", "g", 1, 1, "queued too");
    EXPECT_THAT(Written("corbaoper"), IsEmpty());
    Maintenance().FlushAll();
    EXPECT_THAT(Written("corbaoper"), ElementsAre("queued"));
    EXPECT_THAT(Written("debug"), ElementsAre("queued too"));
}

TEST_F(MaintenanceInterface, DumpsOneCategoryOrAllAndRefusesOneThatDoesNotExist) {
    Start();
    Log(3, "kept back");
    Manager().GetLogger("a", "b", "debug")->Log("f", "g", 1, 3, "kept back too");
    EXPECT_FALSE(Maintenance().OutputAll("corba"));
    EXPECT_FALSE(Maintenance().OutputAll("CorbaOper"));
    EXPECT_TRUE(Maintenance().OutputAll("corbaoper"));
    const std::string head = "The follow message was dump by maintenance command flushall.";
    EXPECT_THAT(Written("corbaoper"), ElementsAre(head, "kept back"));
    EXPECT_THAT(Written("debug"), IsEmpty());
    EXPECT_TRUE(Maintenance().OutputAll(""));
    EXPECT_THAT(Written("corbaoper"), ElementsAre(head, "kept back", head));
    EXPECT_THAT(Written("debug"), ElementsAre(head, "kept back too"));
}

TEST_F(MaintenanceInterface, ListsLoggersInTheOrderOfTheirCreation) {
    Start();
    Manager().GetLogger("z", "1", "debug");
    Manager().GetLogger("a", "2", "corbasys")->EnableLevel(3);
    std::vector<LoggerStatus> loggers(5);
    Maintenance().GetLoggers(loggers);
    ASSERT_EQ(loggers.size(), 2U);
    EXPECT_EQ(loggers[0].first, "z");
    EXPECT_EQ(loggers[0].second, "1");
    EXPECT_EQ(loggers[0].category, "debug");
    EXPECT_THAT(loggers[0].levels, ElementsAre(true, true, false, false));
    EXPECT_EQ(loggers[1].first, "a");
    EXPECT_THAT(loggers[1].levels, ElementsAre(true, true, false, true));
}

TEST_F(MaintenanceInterface, SwitchesALevelOfOneLogger) {
    Start();
    Logger* const other = Manager().GetLogger("other", "service", "corbaoper");
    OperLogger();
    EXPECT_TRUE(Maintenance().SetLoggerLevel("bundle", "service", "corbaoper", 3, true));
    EXPECT_TRUE(Maintenance().SetLoggerLevel("bundle", "service", "corbaoper", 0, false));
    EXPECT_FALSE(Maintenance().SetLoggerLevel("bundle", "service", "debug", 1, true));
    EXPECT_FALSE(Maintenance().SetLoggerLevel("bundle", "service", "corbaoper", 4, true));
    EXPECT_EQ(Levels(OperLogger().Levels()), "0101");
    EXPECT_EQ(Levels(other->Levels()), "1100");
    EXPECT_EQ(Levels(), "1100");
}

TEST_F(MaintenanceInterface, SwitchesALevelForAllLoggersAndThoseToCome) {
    Start();
    OperLogger();
    EXPECT_TRUE(Maintenance().SetLevel(2, true));
    EXPECT_TRUE(Maintenance().SetLevel(0, false));
    EXPECT_FALSE(Maintenance().SetLevel(4, true));
    EXPECT_FALSE(Maintenance().SetLevel(0xffffffff, false));
    EXPECT_EQ(Levels(), "0110");
    EXPECT_EQ(Levels(OperLogger().Levels()), "0110");
    EXPECT_EQ(Levels(Manager().GetLogger("new", "one", "debug")->Levels()), "0110");
}

TEST_F(MaintenanceInterface, ShowsTheSwitchesOfTheWholeService) {
    store_.Set("bEnableAsnLog", "0");
    store_.Set("bLogOutputPara", "1");
    Start();
    LogSwitches switches = Maintenance().GetSwitches();
    EXPECT_THAT(switches.levels, ElementsAre(true, true, false, false));
    EXPECT_FALSE(switches.asnTrace);
    EXPECT_TRUE(switches.outputParameters);
    Maintenance().SetLevel(3, true);
    Manager().SetEnableAsnLog(1);
    Manager().SetEnableOutputPara(0);
    switches = Maintenance().GetSwitches();
    EXPECT_THAT(switches.levels, ElementsAre(true, true, false, true));
    EXPECT_TRUE(switches.asnTrace);
    EXPECT_FALSE(switches.outputParameters);
}

TEST_F(MaintenanceInterface, LimitsTheBytesOfEachQueue) {
    Start();
    Manager().outputmode = 1;
    EXPECT_EQ(Maintenance().GetQueueBytes(), 0U);
    Log(1, std::string(100000, 'x'));
    EXPECT_THAT(Written("corbaoper"), IsEmpty());
    Maintenance().SetQueueBytes(1000);
    EXPECT_EQ(Maintenance().GetQueueBytes(), 1000U);
    Log(1, "the queue is full by now");
    const auto notice = "Debug cache is full, force output execute.";
    EXPECT_THAT(Written("corbaoper"),
                ElementsAre(std::string(100000, 'x'), "the queue is full by now", notice));
    Log(1, "short");
    EXPECT_THAT(Written("corbaoper"), SizeIs(3));
    Maintenance().SetQueueBytes(0);
    Log(1, std::string(100000, 'x'));
    EXPECT_THAT(Written("corbaoper"), SizeIs(3));
}

TEST_F(MaintenanceInterface, ShowsTheModulesThatWereSet) {
    Start();
    ModuleSwitchTable::Instance()->Set(7, false);
    ModuleSwitchTable::Instance()->Set(3, true);
    std::vector<ModuleStatus> modules(4);
    Maintenance().GetModules(modules);
    ASSERT_EQ(modules.size(), 2U);
    EXPECT_EQ(modules[0].module, 3);
    EXPECT_TRUE(modules[0].on);
    EXPECT_EQ(modules[1].module, 7);
    EXPECT_FALSE(modules[1].on);
}

TEST_F(MaintenanceInterface, ShowsSevenChannelsInTheOrderOfTheirNames) {
    Start();
    std::vector<ChannelStatus> channels(1);
    Maintenance().GetChannels(channels);
    std::vector<std::string> names;
    for (const ChannelStatus& channel : channels) {
        names.push_back(channel.category);
        EXPECT_EQ(channel.currentFile, "");
        EXPECT_EQ(channel.bytesWritten, 0U);
        EXPECT_EQ(channel.lastError, 0);
    }
    EXPECT_THAT(names, ElementsAre("corba_alarm", "corba_internal_oper", "corbadebug",
                                   "corbanotify", "corbaoper", "corbasys", "debug"));
}

TEST_F(MaintenanceInterface, CountsWhatAChannelHasDone) {
    store_.Set("filterbuflength", "2");
    Start();
    for (const char* text : {"a", "b", "c"}) {
        Log(3, text);
    }
    EXPECT_EQ(Channel("corbaoper").recordsCached, 2U);
    EXPECT_EQ(Channel("corbaoper").recordsEvicted, 1U);
    Log(1, "written");
    Log(0, "with the history");
    Manager().outputmode = 1;
    Log(1, "queued");
    Log(1, "queued");

    const ChannelStatus channel = Channel("corbaoper");
    EXPECT_EQ(channel.recordsCached, 0U);
    EXPECT_EQ(channel.recordsWritten, 2U);
    EXPECT_EQ(channel.recordsDumped, 2U);
    EXPECT_EQ(channel.recordsDropped, 0U);
    EXPECT_EQ(channel.recordsQueued, 2U);
    EXPECT_EQ(channel.recordsQueuedMost, 2U);
    EXPECT_EQ(channel.rotations, 0U);
    EXPECT_EQ(channel.bytesWritten, std::filesystem::file_size(channel.currentFile));
    EXPECT_THAT(channel.currentFile,
                AllOf(HasSubstr(Path("log/unbi_corbaoper_")), EndsWith(".log")));

    Maintenance().FlushAll();
    EXPECT_EQ(Channel("corbaoper").recordsQueued, 0U);
    EXPECT_EQ(Channel("corbaoper").recordsQueuedMost, 2U);
    EXPECT_EQ(Channel("corbaoper").recordsWritten, 4U);
    EXPECT_EQ(Channel("debug").recordsWritten, 0U);
}

TEST_F(MaintenanceInterface, ShowsWhyRecordsWereDropped) {
    Start();
    WriteFile(Path("log"), "in the way");
    Log(1, "lost");
    const ChannelStatus channel = Channel("corbaoper");
    EXPECT_EQ(channel.recordsDropped, 1U);
    EXPECT_EQ(channel.recordsWritten, 0U);
    EXPECT_EQ(channel.lastError, ENOTDIR);
    EXPECT_GT(channel.lastErrorTime, 1700000000);
}

// What the service says about the category at its end.
std::string Farewell(const std::string& text) {
    return "\n[qv_base_log::fini] corbaoper: " + text + " !!\n";
}

TEST_F(MaintenanceInterface, ReportsAtTheEndWhatCouldNotBeWritten) {
    Start();
    Maintenance().SetFilePolicy(LOG_FILE_POLICY_CONTRACT);
    WriteFile(Path("log"), "in the way");
    Manager().outputmode = 1;
    Log(1, "queued until the end");
    Log(1, "this one too");
    Stop();
    EXPECT_THAT(Proxy().Printed(),
                Contains(IsDiagnostic(1, "logimpl",
                                      Farewell("2 records could not be written (last error: Not a "
                                               "directory)"))));
    EXPECT_THAT(Proxy().Texts(), Contains(HasSubstr("qv_base_log::fini")).Times(1));
}

// Without an administrator the end is the plain one, too: the monitor goes before any file is
// opened or closed.
TEST_F(MaintenanceInterface, ReportsNoLossWhereNobodyHasChosenAPolicy) {
    Start();
    WriteFile(Path("log"), "in the way");
    Log(1, "lost");
    ASSERT_EQ(Channel("corbaoper").recordsDropped, 1U);
    std::filesystem::remove(Path("log"));
    bool monitorGone = false;
    Proxy().onPrint = [&](const std::string& text) {
        monitorGone = true;
        EXPECT_THAT(text, HasSubstr("LogSwitchMonitorMgr Exit!"));
        EXPECT_FALSE(std::filesystem::exists(Path("log")));
    };
    Stop();
    Proxy().onPrint = nullptr;
    EXPECT_TRUE(monitorGone);
    EXPECT_THAT(ListFiles(Path("log")), SizeIs(7));
}

TEST_F(MaintenanceInterface, ReportsNothingAtTheEndWhenNothingWasLost) {
    store_.Set("filterbuflength", "1");
    Start();
    Maintenance().SetFilePolicy(LOG_FILE_POLICY_CONTRACT);
    Log(1, "written");
    Log(2, "evicted, which is the fate of a level that is off");
    Log(2, "still kept back, which is too");
    Stop();
    EXPECT_THAT(Proxy().Texts(), Not(Contains(HasSubstr("qv_base_log::fini"))));
}

TEST_F(MaintenanceInterface, ReportsTheLossesOfOneCategoryThoughTheReportOfAnotherFails) {
    Start();
    Maintenance().SetFilePolicy(LOG_FILE_POLICY_CONTRACT);
    WriteFile(Path("log"), "in the way");
    Manager().GetLogger("a", "b", "corba_alarm")->Log("f", "g", 1, 1, "lost");
    Log(1, "lost too");
    Proxy().onPrint = [](const std::string& text) {
        if (text.find("fini] corba_alarm: 1 records could not be written") != text.npos) {
            throw 42;
        }
    };
    Stop();
    Proxy().onPrint = nullptr;
    EXPECT_THAT(Proxy().Texts(),
                Contains(Farewell("1 records could not be written (last error: Not a directory)")));
}

// Asking for an item of the configuration is a cancellation point here.
TEST_F(MaintenanceInterface, IsOfferedWhenTheThreadThatStartsTheServiceIsCancelled) {
    store_.OnAsked("logfilesize", [] { ::pthread_testcancel(); });
    std::thread([this] {
        ::pthread_cancel(::pthread_self());
        Start();
    }).join();
    EXPECT_NE(Found(), nullptr);
    EXPECT_TRUE(IsMonitorRunning());
}

// Whatever a report meets, the service must end.
TEST_F(MaintenanceInterface, EndsWhenItsReportFails) {
    Start();
    Maintenance().SetFilePolicy(LOG_FILE_POLICY_CONTRACT);
    WriteFile(Path("log"), "in the way");
    Log(1, "lost");
    Proxy().onPrint = [](const std::string& text) {
        if (text == Farewell("1 records could not be written (last error: Not a directory)")) {
            throw 42;
        }
    };
    Stop();
    Proxy().onPrint = nullptr;
    EXPECT_EQ(Found(), nullptr);
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
}

}  // namespace
}  // namespace NS_TEST
