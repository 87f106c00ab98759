// The interface that other bundles use.
#include <climits>

#include "control/moduleswitchtable.h"
#include "logimpl.h"
#include "manager/managerfixture.h"

using NS_LOG_SERVICE1::LevelSwitches;
using NS_LOG_SERVICE1::LoggerIF;
using NS_LOG_SERVICE1::LogMgr;
using NS_LOG_SERVICE1::LogSvcIFImpl;
using NS_LOG_SERVICE1::ModuleSwitchTable;

namespace {

class ServiceInterface : public NS_TEST::BareManagerTest {
  protected:
    ServiceInterface() { ModuleSwitchTable::Destroy(); }
    ~ServiceInterface() override { ModuleSwitchTable::Destroy(); }

    LogSvcIFImpl service_;
};

TEST_F(ServiceInterface, HasANameOfItsOwnAndIsValid) {
    EXPECT_EQ(service_.GetIFName(), "LogSvcInterface!");
    EXPECT_TRUE(service_.IsValid());
    EXPECT_STREQ(NS_LOG_SERVICE1::LOG_SVC_INTERFACE_NAME, "LogSvcInterface");
}

TEST_F(ServiceInterface, HoldsNothing) {
    EXPECT_EQ(sizeof(LogSvcIFImpl), sizeof(void*));
}

TEST_F(ServiceInterface, EndsWithoutAStart) {
    service_.Fini();
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    service_.Fini();
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
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

TEST_F(ServiceInterface, AnswersForTheGlobalSwitches) {
    Manager().levelSwitches = LevelSwitches(0b1010);
    EXPECT_FALSE(service_.IsLevelEnabled(0));
    EXPECT_TRUE(service_.IsLevelEnabled(1));
    EXPECT_FALSE(service_.IsLevelEnabled(2));
    EXPECT_TRUE(service_.IsLevelEnabled(3));
}

TEST_F(ServiceInterface, HasNoLevelAboveThree) {
    Manager().levelSwitches = LevelSwitches(0b1111);
    EXPECT_TRUE(service_.IsLevelEnabled(3));
    for (const unsigned int level : {4u, 32u, 64u, static_cast<unsigned>(INT_MAX), UINT_MAX}) {
        EXPECT_FALSE(service_.IsLevelEnabled(level)) << level;
    }
}

TEST_F(ServiceInterface, CreatesTheManagerWhereThereIsNone) {
    EXPECT_FALSE(service_.IsLevelEnabled(0));
    EXPECT_NE(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_EQ(service_.IsLogOutputPara(), 0u);
    EXPECT_EQ(service_.SetOutputMode(0), 0u);
}

TEST_F(ServiceInterface, NeedsNoManagerForALevelThatDoesNotExist) {
    EXPECT_FALSE(service_.IsLevelEnabled(4));
    EXPECT_FALSE(service_.IsLevelEnabled(UINT_MAX));
}

TEST_F(ServiceInterface, HandsOnTheOutputParameterAsItIs) {
    for (const uint32_t value : {1u, 0u, 5u, UINT_MAX}) {
        Manager().bLogOutputPara = value;
        EXPECT_EQ(service_.IsLogOutputPara(), value);
    }
}

TEST_F(ServiceInterface, SwitchesModules) {
    for (const unsigned int module : {0u, 7u, 0x80000000u, UINT_MAX}) {
        EXPECT_TRUE(service_.GetModuleSwitch(module)) << module;
        service_.SetModuleSwitch(module, false);
        EXPECT_FALSE(service_.GetModuleSwitch(module)) << module;
        EXPECT_TRUE(service_.GetModuleSwitch(module + 1 == 0 ? 1 : module + 1)) << module;
        EXPECT_FALSE(ModuleSwitchTable::Instance()->Get(module));
        service_.SetModuleSwitch(module, true);
        EXPECT_TRUE(service_.GetModuleSwitch(module)) << module;
    }
}

TEST_F(ServiceInterface, HandsOnTheManagersResultForAnOutputMode) {
    EXPECT_EQ(service_.SetOutputMode(0), 0u);
    EXPECT_EQ(service_.SetOutputMode(1), 0u);
    EXPECT_EQ(Manager().outputmode, 0u);
    EXPECT_EQ(service_.SetOutputMode(2), 0x41180003u);
    EXPECT_EQ(service_.SetOutputMode(UINT_MAX), 0x41180003u);
    Manager().outputmode = 1;
    EXPECT_EQ(service_.SetOutputMode(1), 0u);
    EXPECT_EQ(service_.SetOutputMode(0), 0x41180004u) << "there is no schedule service";
    EXPECT_EQ(Manager().outputmode, 1u);
}

}  // namespace
