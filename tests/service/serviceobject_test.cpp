// The service object: start, stop, and the interface that it holds.
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "qv_base_log/logservice.h"
#include "service/servicetest.h"

using NS_BUNDLEMGR1::ServiceInterface;
using NS_LOG_SERVICE1::FindLogService;
using NS_LOG_SERVICE1::LogMgr;
using NS_LOG_SERVICE1::qv_base_log;
using NS_TEST::Diagnostics;
using NS_TEST::Registered;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class ServiceObject : public NS_TEST::RecordedServiceTest {
  protected:
    // The thread sanitizer starts a thread of its own together with the first one, for good.
    ServiceObject() {
        std::thread([] {}).join();
    }

    static size_t Threads() {
        size_t threads = 0;
        for ([[maybe_unused]] const auto& entry :
             std::filesystem::directory_iterator("/proc/self/task")) {
            ++threads;
        }
        return threads;
    }

    // A thread that has been joined leaves the process's list a moment later.
    static bool ThreadsBecome(size_t expected) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (Threads() != expected) {
            if (std::chrono::steady_clock::now() > deadline) {
                return false;
            }
            std::this_thread::yield();
        }
        return true;
    }
};

TEST_F(ServiceObject, HasTheNameOfTheService) {
    qv_base_log* const object = Make();
    EXPECT_EQ(object->GetName(), "qv_base_log");
    End(object);
}

TEST_F(ServiceObject, StartsTheServiceAndEndsIt) {
    Configure("logfilesize = 1000000\nlogswitch = 1,1,1,1\n");
    qv_base_log* const object = Make();
    EXPECT_EQ(object->init(0, nullptr), 0);
    ASSERT_NE(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_EQ(LogMgr::Instance()->logfilesize, 1000000u);
    ASSERT_NE(FindLogService(), nullptr);
    FindLogService()->GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, 1, "text");

    EXPECT_EQ(object->StopService(), 0);
    EXPECT_EQ(object->fini(), 0);
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_EQ(object->GetInterface(), nullptr);
    EXPECT_EQ(FindLogService(), nullptr);
    EXPECT_THAT(NS_TEST::ListFiles(Path("log")), SizeIs(7));
    Gobble(object);
}

TEST_F(ServiceObject, StartsAndEndsThroughItsOtherBase) {
    qv_base_log* const object = Make();
    ACE_Shared_Object* const shared = object;
    EXPECT_NE(static_cast<void*>(shared), static_cast<void*>(object));
    EXPECT_EQ(shared->init(0, nullptr), 0);
    EXPECT_NE(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_EQ(object->StopService(), 0);
    EXPECT_EQ(shared->fini(), 0);
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_EQ(object->GetInterface(), nullptr);
    delete shared;
    EXPECT_THAT(NS_TEST::ListedObjects(), IsEmpty());
}

TEST_F(ServiceObject, IgnoresItsArguments) {
    char argument[] = "-nonsense";
    char* arguments[] = {argument, nullptr};
    qv_base_log* const object = Make();
    EXPECT_EQ(object->init(1, arguments), 0);
    EXPECT_STREQ(argument, "-nonsense");
    End(object);
    qv_base_log* const other = Make();
    EXPECT_EQ(other->init(1000, nullptr), 0);
    End(other);
}

TEST_F(ServiceObject, EndsTwiceWithoutHarm) {
    qv_base_log* const object = Make();
    EXPECT_EQ(object->init(0, nullptr), 0);
    EXPECT_EQ(object->StopService(), 0);
    EXPECT_EQ(object->fini(), 0);
    EXPECT_EQ(object->fini(), 0);
    EXPECT_EQ(object->GetInterface(), nullptr);
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    Gobble(object);
}

TEST_F(ServiceObject, EndsWithoutAStart) {
    qv_base_log* const object = Make();
    EXPECT_EQ(object->fini(), 0);
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_EQ(object->GetInterface(), nullptr);
    EXPECT_THAT(Registered(), IsEmpty());
    EXPECT_EQ(object->fini(), 0);
    Gobble(object);
    EXPECT_THAT(NS_TEST::ListFiles(Path("log")), IsEmpty());
}

TEST_F(ServiceObject, StopsWithoutAStart) {
    qv_base_log* const object = Make();
    EXPECT_EQ(object->StopService(), 0);
    EXPECT_EQ(object->StopService(), 0);
    EXPECT_EQ(object->fini(), 0);
    Gobble(object);
}

TEST_F(ServiceObject, RunsOneThreadUntilItIsStopped) {
    qv_base_log* const object = Make();
    const size_t before = Threads();
    EXPECT_EQ(object->init(0, nullptr), 0);
    EXPECT_EQ(Threads(), before + 1);
    EXPECT_EQ(object->StopService(), 0);
    EXPECT_TRUE(ThreadsBecome(before)) << Threads() << " instead of " << before;
    EXPECT_NE(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_NE(object->GetInterface(), nullptr);
    EXPECT_EQ(object->fini(), 0);
    Gobble(object);
}

TEST_F(ServiceObject, ServesClientsAfterItsThreadWasStopped) {
    qv_base_log* const object = Make();
    EXPECT_EQ(object->init(0, nullptr), 0);
    EXPECT_EQ(object->StopService(), 0);
    FindLogService()->GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, -1, "text");
    EXPECT_THAT(NS_TEST::ListFiles(Path("log")), SizeIs(1));
    EXPECT_EQ(object->fini(), 0);
    Gobble(object);
}

// The monitor is created where there was none, so that its end is reported either way.
TEST_F(ServiceObject, EndsTheMonitorBeforeTheManager) {
    for (const bool started : {true, false}) {
        qv_base_log* const object = Make();
        if (started) {
            EXPECT_EQ(object->init(0, nullptr), 0);
        }
        EXPECT_EQ(object->StopService(), 0);
        Diagnostics().Forget();
        std::vector<bool> managerWasThere;
        Diagnostics().onPrint = [&managerWasThere](const std::string& /*text*/) {
            managerWasThere.push_back(LogMgr::InstanceIfAny() != nullptr);
        };
        EXPECT_EQ(object->fini(), 0);
        Diagnostics().onPrint = nullptr;
        EXPECT_THAT(managerWasThere, ElementsAre(started));
        EXPECT_THAT(Diagnostics().Printed(),
                    ElementsAre(NS_TEST::IsDiagnostic(
                        1, "logswitchmonitormgr",
                        "[LogSwitchMonitorMgr::~LogSwitchMonitorMgr] LogSwitchMonitorMgr Exit!")));
        EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
        Gobble(object);
    }
}

// The manager is gone by the time the interface is removed, and that is done by the object's own
// class.
TEST_F(ServiceObject, EndsTheServiceBeforeItRemovesTheInterface) {
    class Observed : public qv_base_log {
      public:
        void RemoveInterface() override {
            ++removals;
            managerWasGone = LogMgr::InstanceIfAny() == nullptr;
            interfaceWasThere = GetInterface() != nullptr;
            qv_base_log::RemoveInterface();
        }
        int removals = 0;
        bool managerWasGone = false;
        bool interfaceWasThere = false;
    };
    Observed object;
    object.CreateInterface();
    EXPECT_EQ(object.init(0, nullptr), 0);
    EXPECT_EQ(object.StopService(), 0);
    EXPECT_EQ(object.fini(), 0);
    EXPECT_EQ(object.removals, 1);
    EXPECT_TRUE(object.managerWasGone);
    EXPECT_TRUE(object.interfaceWasThere);
    EXPECT_EQ(object.GetInterface(), nullptr);
}

TEST_F(ServiceObject, ReportsAStartThatFailed) {
    NS_TEST::UnreachableItems items;
    qv_base_log* const object = Make();
    ServiceInterface* const interface = object->GetInterface();
    NS_REFERENCE_HOST::SetConfigItems(&items);
    EXPECT_EQ(object->init(0, nullptr), -1);
    const auto reports = Diagnostics().Printed();
    ASSERT_THAT(reports, testing::Not(IsEmpty()));
    EXPECT_EQ(reports.back().text, "\n in [qv_base_log::init] LogSvcIFImpl::Init failed\n");
    EXPECT_EQ(reports.back().level, 1);
    EXPECT_EQ(reports.back().file, "logimpl");
    EXPECT_GT(reports.back().line, 0);
    EXPECT_EQ(object->GetInterface(), interface);
    EXPECT_THAT(Registered(), ElementsAre(interface));

    EXPECT_EQ(object->StopService(), 0);
    EXPECT_EQ(object->fini(), 0);
    EXPECT_EQ(object->GetInterface(), nullptr);
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_THAT(Registered(), IsEmpty());
    Gobble(object);
}

// ACE's configurator finishes an object whose init failed without stopping it first.
TEST_F(ServiceObject, EndsTheThreadThatNobodyStopped) {
    NS_TEST::UnreachableItems items;
    const size_t before = Threads();
    qv_base_log* const object = Make();
    NS_REFERENCE_HOST::SetConfigItems(&items);
    EXPECT_EQ(object->init(0, nullptr), -1);
    EXPECT_EQ(Threads(), before + 1);
    EXPECT_EQ(object->fini(), 0);
    EXPECT_TRUE(ThreadsBecome(before)) << Threads() << " instead of " << before;
    Gobble(object);
}

TEST_F(ServiceObject, PassesOnWhatElseTheConfigurationThrows) {
    class ThrowingItems : public NS_TEST::UnreachableItems {
      public:
        bool GetIntItemInfo(const std::string&, int&) override {
            throw std::runtime_error("something else");
        }
    };
    ThrowingItems items;
    qv_base_log* const object = Make();
    NS_REFERENCE_HOST::SetConfigItems(&items);
    EXPECT_THROW(object->init(0, nullptr), std::runtime_error);
    End(object);
}

TEST_F(ServiceObject, SaysNothingWhenItStarts) {
    Configure(
        "logfilesize=1\nlogfilecount=1\nqueuebuflength=1\nfilterbuflength=1\n"
        "logtimeinterval=1\nlogswitch=1,1,1,1\noutputmode=0\nbEnableAsnLog=0\n"
        "bLogOutputPara=0\n");
    qv_base_log* const object = Make();
    EXPECT_EQ(object->init(0, nullptr), 0);
    EXPECT_THAT(Diagnostics().Printed(), SizeIs(0));
    End(object);
}

TEST_F(ServiceObject, CreatesAnotherInterfaceWithoutFreeingOrRegisteringIt) {
    qv_base_log* const object = Make();
    ServiceInterface* const first = object->GetInterface();
    ServiceInterface* const second = object->CreateInterface();
    EXPECT_NE(second, nullptr);
    EXPECT_NE(second, first);
    EXPECT_EQ(object->GetInterface(), second);
    EXPECT_EQ(first->GetIFName(), "LogSvcInterface!");
    EXPECT_EQ(second->GetIFName(), "LogSvcInterface!");
    EXPECT_THAT(Registered(), ElementsAre(first));
    EXPECT_EQ(object->fini(), 0);
    EXPECT_THAT(Registered(), ElementsAre(first));
    EXPECT_EQ(first->GetIFName(), "LogSvcInterface!");
    Gobble(object);
}

TEST_F(ServiceObject, HasNoInterfaceOfItsOwnAccord) {
    qv_base_log object;
    EXPECT_EQ(object.GetInterface(), nullptr);
    EXPECT_EQ(object.fini(), 0);
    EXPECT_THAT(Registered(), IsEmpty());
}

TEST_F(ServiceObject, LeavesTheRegistryWhenItIsAskedTo) {
    qv_base_log* const object = Make();
    EXPECT_EQ(object->UnRegistSvc(), 0);
    EXPECT_THAT(Registered(), IsEmpty());
    EXPECT_NE(object->GetInterface(), nullptr);
    EXPECT_EQ(object->fini(), 0);
    Gobble(object);
}

}  // namespace
