// The service's diagnostics where the platform has no log proxy: the format texts as they stand, on
// standard output. The fallback is remembered for the life of the process, so each of these tests
// needs a process of its own.
#include "control/configurationfixture.h"
#include "control/scheduleservice.h"
#include "control/switchinglogger.h"
#include "support/capturedoutput.h"

namespace {

class FallbackProxy : public NS_TEST::SwitchingTest {
  protected:
    FallbackProxy() { NS_REFERENCE_HOST::SetLogProxyProvider(nullptr); }

    // What the run writes to standard output.
    template <class Run>
    static std::string OutputOf(Run run) {
        const NS_TEST::CapturedOutput output(STDOUT_FILENO);
        run();
        return output.Text();
    }
};

TEST_F(FallbackProxy, PrintsTheMessagesOfTheConfiguration) {
    NS_LOG_SERVICE1::LogMgr::DestroyInstance();
    NS_LOG_SERVICE1::LogSvcIFImpl service;
    store_.Set("outputmode", "2");
    EXPECT_EQ(OutputOf([&] { service.Init(); }),
              "\nGet Config Item(logfilesize) failed !!\n"
              "\nGet Config Item(logfilecount) failed !!\n"
              "\nGet Config Item(queuebuflength) failed !!\n"
              "\nGet Config Item(filterbuflength) failed !!\n"
              "\nGet Config Item(logtimeinterval) failed !!\n"
              "\nlog output mode value : %d, it is meaningless !!\n"
              "\nGet Config Item(outputmode) failed !!\n"
              "\nGet Config Item(LogOutputPara) failed !!\n");
}

TEST_F(FallbackProxy, PrintsTheFormatsOfBulkSwitching) {
    Add("a", "b").refuses = true;
    EXPECT_EQ(OutputOf([] {
                  Manager().EnableAllLogLevel(1);
                  Manager().DisableAllLogLevel(1);
              }),
              "[LogMgr::EnableAllLogLevel] Disable %s, %s, %s, Level %d error\n"
              "[LogMgr::DisableAllLogLevel] Disable %s, %s, %s, Level %d error\n");
}

TEST_F(FallbackProxy, PrintsTheRefusedDeletion) {
    NS_TEST::RecordingScheduleService schedule;
    const NS_TEST::RegisteredInterface registered(NS_TEST::SCHEDULE_NAME, schedule);
    schedule.answer = 1;
    Manager().outputmode = 1;
    EXPECT_EQ(OutputOf([] { Manager().SetOutputMode(0); }),
              "[LogMgr::SetOutputMode]Delete local task failed, so SetOutputMode failed !!");
    Manager().outputmode = 0;
}

TEST_F(FallbackProxy, PrintsTheFormatsOfASwitchApplication) {
    store_.Set("logswitch", "1,2,0,1");
    store_.Set("bEnableAsnLog", "1");
    store_.Set("bLogOutputPara", "-1");
    NS_LOG_SERVICE1::LogSwitchMonitorMgr monitor;
    EXPECT_EQ(OutputOf([&] { monitor.Check(); }),
              "[LogSwitchMonitorMgr::Check] %s\n"
              "[LogSwitchMonitorMgr::Check] end change bEnableAsnLog = %d \n"
              "[LogSwitchMonitorMgr::Check] bEnableOutputPara<%d> is invalid.\n");
}

TEST_F(FallbackProxy, PrintsTheFormatOfASplitThatFails) {
    store_.Set("logswitch", "");
    store_.Set("bEnableAsnLog", "1");
    store_.Set("bLogOutputPara", "1");
    NS_LOG_SERVICE1::LogSwitchMonitorMgr monitor;
    EXPECT_EQ(OutputOf([&] { monitor.Check(); }),
              "[LogSwitchMonitorMgr::Check] Call SplitStringByTag<%s> failed\n");
}

TEST_F(FallbackProxy, PrintsTheMonitorsOwnMessages) {
    std::filesystem::remove(configFile_);
    EXPECT_EQ(OutputOf([] {
                  NS_LOG_SERVICE1::LogSwitchMonitorMgr monitor;
                  EXPECT_EQ(monitor.Init(), -1);
              }),
              "[LogSwitchMonitorMgr::Init] CALL ACE_OS::stat failed!"
              "[LogSwitchMonitorMgr::~LogSwitchMonitorMgr] LogSwitchMonitorMgr Exit!");
}

TEST_F(FallbackProxy, PrintsTheServiceObjectsFailedInit) {
    NS_LOG_SERVICE1::qv_base_log object;
    object.CreateInterface();
    store_.OnAsked("logfilesize", NS_TEST::RaiseStoreOutOfReach);
    EXPECT_EQ(OutputOf([&] { EXPECT_EQ(object.init(0, nullptr), -1); }),
              "\n in [qv_base_log::init] LogSvcIFImpl::Init failed\n");
    NS_REFERENCE_HOST::SetConfigItems(nullptr);
    object.StopService();
    object.fini();
}

}  // namespace
