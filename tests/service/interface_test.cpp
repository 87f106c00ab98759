// The interface that other bundles use.
#include <climits>

#include "support/servicefixture.h"

using namespace NS_LOG_SERVICE1;
using namespace testing;

namespace {

class ServiceInterface : public NS_TEST::ServiceTest {
  protected:
    LogSvcIFImpl service_;
};

TEST_F(ServiceInterface, HasANameOfItsOwnAndIsValidAndHoldsNothing) {
    EXPECT_EQ(service_.GetIFName(), "LogSvcInterface!");
    EXPECT_TRUE(service_.IsValid());
    EXPECT_STREQ(LOG_SVC_INTERFACE_NAME, "LogSvcInterface");
    EXPECT_EQ(sizeof(LogSvcIFImpl), sizeof(void*));
}

// The monitor is created where there was none, so that its end is reported either way.
TEST_F(ServiceInterface, EndsWithoutAStartAndAgain) {
    for (int end = 1; end <= 2; ++end) {
        service_.Fini();
        EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
        EXPECT_THAT(Proxy().Texts(), ContainerEq(std::vector<std::string>(
                                         static_cast<size_t>(end),
                                         "[LogSwitchMonitorMgr::~LogSwitchMonitorMgr] "
                                         "LogSwitchMonitorMgr Exit!")));
    }
    EXPECT_THAT(NS_TEST::ListFiles(Path("log")), IsEmpty());
}

// An interface may be deleted while the service goes on.
TEST_F(ServiceInterface, LeavesTheManagerTheMonitorAndTheModulesAloneWhenItIsDeleted) {
    auto service = std::make_unique<LogSvcIFImpl>();
    EXPECT_TRUE(service->Init());
    service->SetModuleSwitch(7, false);
    LogMgr* const manager = LogMgr::InstanceIfAny();
    Proxy().Forget();
    service.reset();
    EXPECT_EQ(LogMgr::InstanceIfAny(), manager);
    EXPECT_NE(manager, nullptr);
    EXPECT_TRUE(IsMonitorRunning());
    EXPECT_FALSE(ModuleSwitchTable::Instance()->Get(7));
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(ServiceInterface, KeepsTheModuleSwitchesForAnotherStart) {
    EXPECT_TRUE(service_.Init());
    service_.SetModuleSwitch(7, false);
    service_.Fini();
    LogSvcIFImpl another;
    EXPECT_TRUE(another.Init());
    EXPECT_FALSE(another.GetModuleSwitch(7));
    another.Fini();
}

TEST_F(ServiceInterface, GivesOutTheManagersLoggers) {
    Manager().CreateChannels();
    LoggerIF* const logger = service_.GetLogger("a", "b", "corbaoper");
    ASSERT_NE(logger, nullptr);
    EXPECT_EQ(service_.GetLogger("a", "b", "corbaoper"), logger);
    EXPECT_EQ(Manager().GetLogger("a", "b", "corbaoper"), logger);
    EXPECT_NE(service_.GetLogger("b", "a", "corbaoper"), logger);
    EXPECT_EQ(Manager().GetLogger("b", "a", "corbaoper")->First(), "b");
    EXPECT_EQ(service_.GetLogger("a", "b", "CorbaOper"), nullptr);
}

TEST_F(ServiceInterface, TakesTheNamesOfALoggerAsTheyAre) {
    Manager().CreateChannels();
    const std::string name("a\0b", 3);
    EXPECT_EQ(service_.GetLogger(name, "b", "debug"), Manager().GetLogger(name, "b", "debug"));
    EXPECT_EQ(service_.GetLogger("a", name, "debug"), Manager().GetLogger("a", name, "debug"));
    EXPECT_EQ(service_.GetLogger("a", "b", std::string("debug\0", 6)), nullptr);
}

TEST_F(ServiceInterface, HandsOnWhatTheManagerAnswersAndCreatesItWhereThereIsNone) {
    EXPECT_EQ(service_.IsLogOutputPara(), 0u);
    EXPECT_NE(LogMgr::InstanceIfAny(), nullptr);
    for (const uint32_t value : {1u, 5u, UINT_MAX}) {
        Manager().bLogOutputPara = value;
        EXPECT_EQ(service_.IsLogOutputPara(), value);
    }
    SetLevels("0100");
    for (const unsigned int level : {0u, 1u, 4u, UINT_MAX}) {
        EXPECT_EQ(service_.IsLevelEnabled(level), level == 1) << level;
    }
    EXPECT_EQ(service_.SetOutputMode(1), 0u);
    EXPECT_EQ(service_.SetOutputMode(2), 0x41180003u);
    Manager().outputmode = 1;
    EXPECT_EQ(service_.SetOutputMode(0), 0x41180004u) << "there is no schedule service";
}

TEST_F(ServiceInterface, SwitchesModules) {
    for (const unsigned int module : {0u, 7u, 0x80000000u, UINT_MAX}) {
        EXPECT_TRUE(service_.GetModuleSwitch(module)) << module;
        service_.SetModuleSwitch(module, false);
        EXPECT_FALSE(service_.GetModuleSwitch(module)) << module;
        EXPECT_TRUE(service_.GetModuleSwitch(module ^ 1)) << module;
        EXPECT_FALSE(ModuleSwitchTable::Instance()->Get(module));
        service_.SetModuleSwitch(module, true);
        EXPECT_TRUE(service_.GetModuleSwitch(module)) << module;
    }
}

}  // namespace
