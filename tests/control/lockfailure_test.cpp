// Locks that cannot be taken: what is under way goes on without them, and nothing is lost.
#include <ace/Object_Manager.h>

#include <cerrno>
#include <functional>

#include "bundlemgr/bundlemgr.h"
#include "lookup/interfacelookup.h"
#include "qv_base_log/resultcode.h"
#include "support/failinglocks.h"
#include "support/otherservices.h"
#include "support/servicefixture.h"
#include "support/switchinglogger.h"
#include "support/waiting.h"

using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;
using namespace testing;

namespace {

// Nothing of the service exists yet but a monitor of the test's own.
class WithoutTheStaticObjectLock : public NS_TEST::ServiceTest {
  protected:
    static const ACE_Recursive_Thread_Mutex& Lock() { return *ACE_Static_Object_Lock::instance(); }

    LogSwitchMonitorMgr monitor_;
    LogSvcIFImpl service_;
};

TEST_F(WithoutTheStaticObjectLock, NothingIsCreated) {
    const FailingLocks failing(Lock());
    EXPECT_EQ(LogMgr::Instance(), nullptr);
    EXPECT_EQ(LogSwitchMonitorMgr::Instance(), nullptr);
    EXPECT_EQ(ModuleSwitchTable::Instance(), nullptr);
    EXPECT_EQ(failing.Failures(), 3);
    EXPECT_EQ(failing.Releases(), 0);
}

TEST_F(WithoutTheStaticObjectLock, WhatExistsIsFoundAndOnlyTheManagerIsDestroyed) {
    LogMgr* const manager = LogMgr::Instance();
    LogSwitchMonitorMgr* const monitor = LogSwitchMonitorMgr::Instance();
    ModuleSwitchTable* const table = ModuleSwitchTable::Instance();
    table->Set(7, false);
    {
        const FailingLocks failing(Lock());
        EXPECT_EQ(LogMgr::Instance(), manager);
        LogSwitchMonitorMgr::Destroy();
        ModuleSwitchTable::Destroy();
        LogMgr::DestroyInstance();
        EXPECT_EQ(failing.Failures(), 3);
        EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
        EXPECT_EQ(failing.Releases(), 0);
        EXPECT_EQ(LogSwitchMonitorMgr::Instance(), monitor);
        EXPECT_EQ(ModuleSwitchTable::Instance(), table);
    }
    EXPECT_FALSE(table->Get(7));
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

// The manager is asked for last, when the switches have turned out to be of use.
TEST_F(WithoutTheStaticObjectLock, TheSwitchesAreNotAppliedForWantOfAManager) {
    store_.Set("bEnableAsnLog", "1");
    store_.Set("bLogOutputPara", "1");
    {
        const FailingLocks failing(Lock());
        for (const char* levels : {"0,0,0,0", "0,0,0"}) {
            store_.Set("logswitch", levels);
            monitor_.Check();
        }
    }
    EXPECT_THAT(Proxy().Texts(),
                ElementsAre("[LogSwitchMonitorMgr::Check] get LogMgr::Instance is NULL.\n",
                            "[LogSwitchMonitorMgr::Check] logswitch Info is invalid.\n"));
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
}

TEST_F(WithoutTheStaticObjectLock, TheInterfaceAnswersAsIfNothingWereSet) {
    const FailingLocks failing(Lock());
    EXPECT_EQ(service_.GetLogger("bundle", "service", "debug"), nullptr);
    EXPECT_EQ(service_.SetOutputMode(0), LOG_RESULT_INTERFACE_NOT_EXIST);
    EXPECT_FALSE(service_.IsLevelEnabled(0));
    EXPECT_EQ(service_.IsLogOutputPara(), 0U);
    service_.SetModuleSwitch(7, false);
    EXPECT_TRUE(service_.GetModuleSwitch(7));
}

TEST_F(WithoutTheStaticObjectLock, TheServiceDoesNotStartAndCanBeFinished) {
    ACE_Service_Object_Exterminator free = nullptr;
    ACE_Service_Object* const object = _make_qv_base_log(&free);
    {
        const FailingLocks failing(Lock());
        EXPECT_EQ(object->init(0, nullptr), -1);
        EXPECT_EQ(static_cast<qv_base_log*>(object)->StopService(), 0);
        EXPECT_EQ(object->fini(), 0);
    }
    EXPECT_THAT(Proxy().Texts(),
                ElementsAre("\n in [qv_base_log::init] LogSvcIFImpl::Init failed\n"));
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    free(object);
}

class WithoutItsLock : public NS_TEST::ServiceTest {
  protected:
    WithoutItsLock() {
        SetLevels("1111");
        Manager().CreateChannels();
        FirstLogger();
    }

    static ModuleSwitchTable& Table() { return *ModuleSwitchTable::Instance(); }
    static SwitchingLogger& FirstLogger() { return AddSwitchingLogger("a", "b"); }
    static TEDebugInfoBuf& Channel() { return *Manager().Channels().Find("debug"); }

    static void Log(int level, const std::string& text) {
        FirstLogger().Log("file.cpp", "Function", 7, level, text);
    }

    // What each operation of the module table leaves in errno.
    static std::vector<int> ErrorsOfTheTable() {
        std::vector<int> errors;
        const std::function<void()> kOperations[] = {
            [] { Table().Set(7, false); }, [] { EXPECT_FALSE(Table().Get(7)); },
            [] { EXPECT_EQ(Table().All().size(), 1U); }, [] { Table().Clear(); },
            [] { EXPECT_TRUE(Table().Get(7)); }};
        for (const auto& operation : kOperations) {
            errno = 0;
            operation();
            errors.push_back(errno);
        }
        return errors;
    }
};

TEST_F(WithoutItsLock, TheModuleTableWorksAndLeavesTheErrorCode) {
    Table();
    const FailingLocks failing(Table());
    EXPECT_THAT(ErrorsOfTheTable(), ElementsAre(EAGAIN, EAGAIN, EAGAIN, EAGAIN, EAGAIN));
    EXPECT_EQ(failing.Failures(), 5);
    EXPECT_EQ(failing.Releases(), 0);
}

TEST_F(WithoutItsLock, TheModuleTableThatCannotReleaseItLeavesTheErrorCode) {
    const FailingLocks failing(Table(), LockFailure::Releasing);
    EXPECT_THAT(ErrorsOfTheTable(), ElementsAre(EPERM, EPERM, EPERM, EPERM, EPERM));
    EXPECT_EQ(failing.Releases(), 5);
}

// So that the map outlives it.
TEST_F(WithoutItsLock, TheModuleTableHasItBehindItsMap) {
    Table();
    const FailingLocks failing(&Table(), sizeof(std::map<int, bool>), LockFailure::Taking);
    EXPECT_THAT(ErrorsOfTheTable(), Each(0));
}

// Readers must not wait for each other.
TEST_F(WithoutItsLock, TheModuleTableIsReadByThoseWhoCannotHaveItAlone) {
    const FailingLocks failing(Table(), LockFailure::Writing);
    EXPECT_THAT(ErrorsOfTheTable(), ElementsAre(EAGAIN, 0, 0, EAGAIN, 0));
    EXPECT_EQ(failing.Failures(), 2);
    EXPECT_EQ(failing.Releases(), 3);
}

TEST_F(WithoutItsLock, TheModuleTableBelongsToThisProcess) {
    Table();
    EXPECT_EQ(FailingLocks::SharedLocks(), 0);
    const ACE_RW_Mutex shared(USYNC_PROCESS);
    EXPECT_EQ(FailingLocks::SharedLocks(), 1);
}

TEST_F(WithoutItsLock, ALoggerSwitchesItsLevels) {
    const FailingLocks failing(FirstLogger());
    EXPECT_TRUE(FirstLogger().DisableLevel(1));
    EXPECT_TRUE(FirstLogger().EnableLevel(3));
    EXPECT_EQ(Levels(FirstLogger().Levels()), "1011");
    EXPECT_THROW(FirstLogger().Logger::EnableAllLevels(), std::out_of_range);
    EXPECT_EQ(failing.Failures(), 3);
    EXPECT_EQ(failing.Releases(), 0);
}

TEST_F(WithoutItsLock, TheManagerFindsAndSwitchesLoggers) {
    LogMgr& manager = Manager();
    const FailingLocks failing(manager);
    Logger* const added = manager.GetLogger("later", "one", "corbaoper");
    ASSERT_NE(added, nullptr);
    EXPECT_EQ(manager.GetLogger("later", "one", "corbaoper"), added);
    EXPECT_NE(added->Channel(), nullptr);
    EXPECT_EQ(manager.DisableAllLogLevel(0), 1);
    EXPECT_EQ(manager.EnableLogLevel("later", "one", "corbaoper", 0), 1);
    EXPECT_EQ(Levels(FirstLogger().Levels()), "0111");
    EXPECT_EQ(Levels(added->Levels()), "1111");
    manager.FlushAll();
    EXPECT_GE(failing.Failures(), 6);
    EXPECT_EQ(failing.Releases(), 0);
}

TEST_F(WithoutItsLock, AChannelWritesAtOnce) {
    {
        const FailingLocks failing(Channel());
        Log(1, "first");
        FirstLogger().DisableLevel(2);
        Log(2, "kept back");
        Log(0, "an error");
        EXPECT_EQ(failing.Failures(), 4);
        EXPECT_EQ(failing.Releases(), 0);
    }
    EXPECT_TRUE(FinishesOnAnotherThread([] { Log(1, "the next one"); }));
    EXPECT_THAT(Written("debug"), ElementsAre("first", "an error", "kept back", "the next one"));
}

TEST_F(WithoutItsLock, AChannelQueuesFlushesAndDumps) {
    Manager().outputmode = 1;
    {
        const FailingLocks failing(Channel());
        Log(1, "queued");
        EXPECT_THAT(Written("debug"), IsEmpty());
        Channel().Flush();
        EXPECT_THAT(Written("debug"), ElementsAre("queued"));
        Log(1, "queued again");
        FirstLogger().DisableLevel(2);
        Log(2, "kept back");
        Log(0, "an error");
        Log(1, "the last one");
        Channel().OutputAll();
        EXPECT_GE(failing.Failures(), 8);
        EXPECT_EQ(failing.Releases(), 0);
    }
    EXPECT_THAT(Written("debug"),
                ElementsAre("queued", "queued again", "an error", "kept back", "the last one",
                            "The follow message was dump by maintenance command flushall."));
}

TEST_F(WithoutItsLock, AnInterfaceIsLookedUp) {
    LogSvcIFImpl service;
    const RegisteredInterface registered(LOG_SVC_INTERFACE_NAME, service);
    const FailingLocks failing(NS_BUNDLEMGR1::_g_actualmutex);
    EXPECT_EQ(&LookUp<LogSvcInterface>(LOG_SVC_INTERFACE_NAME), &service);
    EXPECT_GE(failing.Failures(), 1);
    EXPECT_EQ(failing.Releases(), 0);
}

}  // namespace
