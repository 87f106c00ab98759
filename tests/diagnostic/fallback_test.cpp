// The service's diagnostics where the platform has no log proxy: the format
// texts as they stand, on standard output. The fallback is remembered for the
// life of the process, so each of these tests needs a process of its own.
#include <unistd.h>

#include "support/capturedoutput.h"
#include "support/otherservices.h"
#include "support/servicefixture.h"
#include "support/switchinglogger.h"

using namespace NS_TEST;

namespace {

class Fallback : public NS_TEST::ServiceTest {
  protected:
    Fallback() { NS_REFERENCE_HOST::SetLogProxyProvider(nullptr); }

    // What the run writes to standard output.
    template <class Run>
    static std::string OutputOf(Run run) {
        const CapturedOutput output(STDOUT_FILENO);
        run();
        return output.Text();
    }

    void SetSwitches(const char* levels, const char* asnLog, const char* outputPara) {
        store_.Set("logswitch", levels);
        store_.Set("bEnableAsnLog", asnLog);
        store_.Set("bLogOutputPara", outputPara);
    }
};

TEST_F(Fallback, PrintsWhatTheManagerAndItsLoggersReport) {
    RecordingScheduleService schedule;
    const RegisteredInterface registered(SCHEDULE_NAME, schedule);
    schedule.answer = 1;
    Manager().outputmode = 1;
    AddSwitchingLogger("a", "b").refuses = true;
    EXPECT_EQ(OutputOf([] {
                  Manager().EnableAllLogLevel(1);
                  Manager().DisableAllLogLevel(1);
                  Manager().SetOutputMode(0);
                  Manager().GetLogger("a", "b", "debug")->LogFormat("f", "g", 7, -1, "%5000d", 1);
              }),
              "[LogMgr::EnableAllLogLevel] Disable %s, %s, %s, Level %d error\n"
              "[LogMgr::DisableAllLogLevel] Disable %s, %s, %s, Level %d error\n"
              "[LogMgr::SetOutputMode]Delete local task failed, so SetOutputMode "
              "failed !!"
              "\nvsnprintf_s failed !!\n");
}

TEST_F(Fallback, PrintsTheFormatsOfASwitchApplication) {
    NS_LOG_SERVICE1::LogSwitchMonitorMgr monitor;
    SetSwitches("1,2,0,1", "1", "-1");
    EXPECT_EQ(OutputOf([&] { monitor.Check(); }),
              "[LogSwitchMonitorMgr::Check] %s\n"
              "[LogSwitchMonitorMgr::Check] end change bEnableAsnLog = %d \n"
              "[LogSwitchMonitorMgr::Check] bEnableOutputPara<%d> is invalid.\n");
    SetSwitches("", "1", "1");
    EXPECT_EQ(OutputOf([&] { monitor.Check(); }),
              "[LogSwitchMonitorMgr::Check] Call SplitStringByTag<%s> failed\n");
}

}  // namespace
