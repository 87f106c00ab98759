// The service in a process that has no log proxies.
#include <unistd.h>

#include "service/servicetest.h"
#include "support/capturedoutput.h"

using NS_LOG_SERVICE1::LogMgr;
using NS_LOG_SERVICE1::qv_base_log;
using NS_TEST::CapturedOutput;

namespace {

class WithoutLogProxies : public NS_TEST::ServiceTest {
  protected:
    WithoutLogProxies() { NS_REFERENCE_HOST::SetLogProxyProvider(nullptr); }
};

TEST_F(WithoutLogProxies, ReportsOnStandardOutput) {
    Configure("");
    const CapturedOutput output(STDOUT_FILENO);
    qv_base_log* const object = Make();
    EXPECT_EQ(object->init(0, nullptr), 0);
    EXPECT_EQ(output.Text(),
              "\nGet Config Item(logfilesize) failed !!\n"
              "\nGet Config Item(logfilecount) failed !!\n"
              "\nGet Config Item(queuebuflength) failed !!\n"
              "\nGet Config Item(filterbuflength) failed !!\n"
              "\nGet Config Item(logtimeinterval) failed !!\n"
              "\nGet Config Item(outputmode) failed !!\n"
              "\nGet Config Item(outputmode) failed !!\n"
              "\nGet Config Item(LogOutputPara) failed !!\n");
    End(object);
}

TEST_F(WithoutLogProxies, ReportsTheFormatsAsTheyAre) {
    Configure(
        "logfilesize=1\nlogfilecount=1\nqueuebuflength=1\nfilterbuflength=1\n"
        "logtimeinterval=1\noutputmode=2\nbEnableAsnLog=0\nbLogOutputPara=0\n");
    const CapturedOutput output(STDOUT_FILENO);
    qv_base_log* const object = Make();
    EXPECT_EQ(object->init(0, nullptr), 0);
    EXPECT_EQ(output.Text(), "\nlog output mode value : %d, it is meaningless !!\n");
    End(object);
}

TEST_F(WithoutLogProxies, ReportsAFailedStart) {
    NS_TEST::UnreachableItems items;
    const CapturedOutput output(STDOUT_FILENO);
    qv_base_log* const object = Make();
    NS_REFERENCE_HOST::SetConfigItems(&items);
    EXPECT_EQ(object->init(0, nullptr), -1);
    EXPECT_EQ(output.Text(), "\n in [qv_base_log::init] LogSvcIFImpl::Init failed\n");
    End(object);
}

TEST_F(WithoutLogProxies, ReportsACutMessage) {
    const CapturedOutput output(STDOUT_FILENO);
    LogMgr::Instance()->CreateChannels();
    LogMgr::Instance()->GetLogger("a", "b", "debug")->LogFormat("f.cpp", "Run", 7, -1, "%5000d", 1);
    EXPECT_EQ(output.Text(), "\nvsnprintf_s failed !!\n");
}

TEST_F(WithoutLogProxies, ReportsARefusedLevelWithoutTheNames) {
    class Refusing : public NS_LOG_SERVICE1::Logger {
      public:
        Refusing()
            : Logger("a", "b", "debug", *LogMgr::Instance(), LogMgr::Instance()->Channels()) {}
        bool EnableLevel(unsigned int) override { return false; }
        bool DisableLevel(unsigned int) override { return false; }
    };
    const CapturedOutput output(STDOUT_FILENO);
    LogMgr::Instance()->Loggers().FindOrAdd({"a", "b", "debug"},
                                            [] { return std::make_unique<Refusing>(); });
    LogMgr::Instance()->EnableAllLogLevel(1);
    LogMgr::Instance()->DisableAllLogLevel(1);
    EXPECT_EQ(output.Text(),
              "[LogMgr::EnableAllLogLevel] Disable %s, %s, %s, Level %d error\n"
              "[LogMgr::DisableAllLogLevel] Disable %s, %s, %s, Level %d error\n");
}

}  // namespace
