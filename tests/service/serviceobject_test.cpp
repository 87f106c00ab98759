// The exported factory and the gobbler that it hands out; the service object:
// start, stop, and the interface that it holds.
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "qv_base_log/logservice.h"
#include "service/serviceobjectfixture.h"
#include "support/capturedoutput.h"
#include "support/onthreads.h"

using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;
using namespace testing;

namespace {

class Factory : public NS_TEST::ServiceObjectTest {};

TEST_F(Factory, MakesAServiceObjectAndRegistersItsInterfaceButStartsNothing) {
    qv_base_log* const object = Make();
    ASSERT_NE(object, nullptr);
    EXPECT_NE(gobbler_, nullptr);
    EXPECT_THAT(ListedObjects(), ElementsAre(object));
    ASSERT_NE(object->GetInterface(), nullptr);
    EXPECT_THAT(Registered(), ElementsAre(object->GetInterface()));
    EXPECT_NE(dynamic_cast<LogSvcInterface*>(object->GetInterface()), nullptr);
    EXPECT_THAT(NS_BUNDLEMGR1::CheckIFBuf("LogSvcInterface!"), IsEmpty());
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_THAT(ListFiles(Path("log")), IsEmpty());
    End(object);
}

TEST_F(Factory, WorksWithoutAPlaceForTheGobbler) {
    ACE_Service_Object* const object = _make_qv_base_log(nullptr);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->init(0, nullptr), 0);
    EXPECT_NE(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_EQ(static_cast<qv_base_log*>(object)->StopService(), 0);
    EXPECT_EQ(object->fini(), 0);
    delete object;
    EXPECT_THAT(ListedObjects(), IsEmpty());
}

// The interface belongs to fini; whoever skips it keeps a registered, working interface.
TEST_F(Factory, HandsOutAGobblerThatFreesTheObjectAndLeavesTheInterfaceAlone) {
    qv_base_log* const object = Make();
    NS_BUNDLEMGR1::ServiceInterface* const interface = object->GetInterface();
    Gobble(object);
    EXPECT_THAT(ListedObjects(), IsEmpty());
    EXPECT_THAT(Registered(), ElementsAre(interface));
    EXPECT_EQ(interface->GetIFName(), "LogSvcInterface!");
}

TEST_F(Factory, HandsOutAGobblerThatDeletesThroughTheVirtualDestructor) {
    class Derived : public qv_base_log {
      public:
        explicit Derived(bool& gone) : gone_(gone) {}
        ~Derived() override { gone_ = true; }

      private:
        bool& gone_;
    };
    End(Make());
    bool gone = false;
    Gobble(new Derived(gone));
    EXPECT_TRUE(gone);
}

TEST_F(Factory, HandsOutAGobblerThatOnlyComplainsAboutNull) {
    End(Make());
    const CapturedOutput errors(STDERR_FILENO);
    gobbler_(nullptr);
    EXPECT_THAT(errors.Text(),
                MatchesRegex("ACE_ASSERT: file .*logimpl.*, line [0-9]+ assertion failed "
                             "for '_p != 0'\\.\n?"));
}

TEST_F(Factory, MakesObjectsThatAreIndependent) {
    qv_base_log* const first = Make();
    qv_base_log* const second = Make();
    EXPECT_THAT(ListedObjects(), ElementsAre(first, second));
    EXPECT_THAT(Registered(), ElementsAre(first->GetInterface(), second->GetInterface()));
    EXPECT_EQ(first->fini(), 0);
    Gobble(first);
    EXPECT_THAT(Registered(), ElementsAre(second->GetInterface()));
    End(second);
}

TEST_F(Factory, MayBeCalledByManyThreadsAtOnce) {
    constexpr size_t kLoads = 8;
    std::array<qv_base_log*, kLoads> objects{};
    OnThreads(kLoads, [&](size_t load) {
        ACE_Service_Object_Exterminator free = nullptr;
        objects[load] = static_cast<qv_base_log*>(_make_qv_base_log(&free));
        EXPECT_NE(free, nullptr);
    });
    EXPECT_THAT(ListedObjects(), UnorderedElementsAreArray(objects));
    EXPECT_THAT(Registered(), SizeIs(kLoads));

    // Whichever of them is started serves the clients of all.
    gobbler_ = [](void* object) { delete static_cast<ACE_Service_Object*>(object); };
    EXPECT_EQ(objects.back()->init(0, nullptr), 0);
    LoggerIF* const logger = FindLogService()->GetLogger("a", "b", "debug");
    ASSERT_NE(logger, nullptr);
    logger->Log("f.cpp", "Run", 7, 0, "hello");
    EXPECT_THAT(Written("debug"), ElementsAre("hello"));
    for (qv_base_log* object : objects) {
        End(object);
    }
    EXPECT_THAT(Registered(), IsEmpty());
}

class ServiceObject : public NS_TEST::ServiceObjectTest {
  protected:
    ServiceObject() {
        StartFirstThread();
        for (const char* item : {"logfilesize", "logfilecount", "queuebuflength", "filterbuflength",
                                 "logtimeinterval", "bEnableAsnLog", "bLogOutputPara"}) {
            store_.Set(item, "1000000");
        }
        store_.Set("outputmode", "0");
    }

    // The thread sanitizer starts a thread of its own together with the first one, for good. A
    // thread that has been joined leaves the process's list a moment later.
    static void StartFirstThread() {
        pid_t number = 0;
        std::thread([&number] { number = ::gettid(); }).join();
        while (std::filesystem::exists("/proc/self/task/" + std::to_string(number))) {
            std::this_thread::yield();
        }
    }

    static size_t Threads() {
        size_t threads = 0;
        for ([[maybe_unused]] const auto& entry :
             std::filesystem::directory_iterator("/proc/self/task")) {
            ++threads;
        }
        return threads;
    }

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

    static void ExpectEnded(qv_base_log& object) {
        EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
        EXPECT_EQ(object.GetInterface(), nullptr);
        EXPECT_THAT(Registered(), IsEmpty());
        EXPECT_EQ(FindLogService(), nullptr);
    }
};

TEST_F(ServiceObject, StartsTheServiceWithoutAWordAndEndsIt) {
    store_.Set("logswitch", "1,1,1,1");
    qv_base_log* const object = MakeAndInit();
    EXPECT_EQ(object->GetName(), "qv_base_log");
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
    ASSERT_NE(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_EQ(LogMgr::Instance()->logfilesize, 1000000u);
    ASSERT_NE(FindLogService(), nullptr);
    FindLogService()->GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, 1, "text");
    EXPECT_THAT(Written("debug"), ElementsAre("text"));

    EXPECT_EQ(object->StopService(), 0);
    for (int end = 0; end < 2; ++end) {
        EXPECT_EQ(object->fini(), 0);
        ExpectEnded(*object);
    }
    for (const std::string category : {"debug", "corbadebug", "corbanotify", "corba_alarm",
                                       "corbasys", "corbaoper", "corba_internal_oper"}) {
        EXPECT_THAT(ListLogFiles(Path("log"), category), SizeIs(1));
    }
    Gobble(object);
}

TEST_F(ServiceObject, StopsAndEndsWithoutAStart) {
    qv_base_log* const object = Make();
    for (int end = 0; end < 2; ++end) {
        EXPECT_EQ(object->StopService(), 0);
        EXPECT_EQ(object->fini(), 0);
        ExpectEnded(*object);
    }
    EXPECT_THAT(ListFiles(Path("log")), IsEmpty());
    Gobble(object);
}

TEST_F(ServiceObject, RunsOneThreadUntilItIsStoppedAndServesClientsAfterwards) {
    char argument[] = "-nonsense";
    char* ignored[] = {argument, nullptr};
    qv_base_log* const object = Make();
    const size_t before = Threads();
    EXPECT_EQ(object->init(1, ignored), 0);
    EXPECT_EQ(Threads(), before + 1);
    EXPECT_EQ(object->StopService(), 0);
    EXPECT_TRUE(ThreadsBecome(before)) << Threads() << " instead of " << before;
    ASSERT_NE(FindLogService(), nullptr);
    FindLogService()->GetLogger("a", "b", "debug")->Log("f.cpp", "Run", 7, -1, "text");
    EXPECT_THAT(Written("debug"), ElementsAre("text"));
    EXPECT_EQ(object->fini(), 0);
    Gobble(object);
}

// The monitor goes before the manager; the interface goes last, and that is
// done by the object's own class.
TEST_F(ServiceObject, EndsTheServiceInAFixedOrder) {
    class Observed : public qv_base_log {
      public:
        explicit Observed(std::vector<std::string>& steps) : steps_(steps) {}
        void RemoveInterface() override {
            steps_.push_back(std::string("interface") + (GetInterface() ? " there" : " gone") +
                             (LogMgr::InstanceIfAny() ? ", manager there" : ", manager gone"));
            qv_base_log::RemoveInterface();
        }

      private:
        std::vector<std::string>& steps_;
    };
    std::vector<std::string> steps;
    Observed object(steps);
    object.CreateInterface();
    EXPECT_EQ(object.init(0, nullptr), 0);
    EXPECT_EQ(object.StopService(), 0);
    Proxy().onPrint = [&steps](const std::string& text) {
        steps.push_back(text + (LogMgr::InstanceIfAny() ? " Manager there" : " Manager gone"));
    };
    EXPECT_EQ(object.fini(), 0);
    Proxy().onPrint = nullptr;
    EXPECT_THAT(steps, ElementsAre("[LogSwitchMonitorMgr::~LogSwitchMonitorMgr] "
                                   "LogSwitchMonitorMgr Exit! "
                                   "Manager there",
                                   "interface there, manager gone"));
    EXPECT_EQ(object.GetInterface(), nullptr);
}

TEST_F(ServiceObject, ReportsAStartThatFailedAndKeepsItsInterfaceUntilItEnds) {
    for (const char* item : {"logfilesize", "bLogOutputPara"}) {
        Proxy().Forget();
        store_.OnAsked(item, RaiseStoreOutOfReach);
        qv_base_log* const object = Make();
        NS_BUNDLEMGR1::ServiceInterface* const interface = object->GetInterface();
        EXPECT_EQ(object->init(0, nullptr), -1);
        EXPECT_THAT(Proxy().Printed(),
                    ElementsAre(IsDiagnostic(
                        1, "logimpl", "\n in [qv_base_log::init] LogSvcIFImpl::Init failed\n")));
        EXPECT_TRUE(IsMonitorRunning());
        EXPECT_EQ(object->GetInterface(), interface);
        EXPECT_THAT(Registered(), ElementsAre(interface));
        EXPECT_EQ(object->StopService(), 0);
        EXPECT_EQ(object->fini(), 0);
        ExpectEnded(*object);
        Gobble(object);
        store_.OnAsked(item, [] {});
    }
}

// ACE's configurator finishes an object whose init failed without stopping it first.
TEST_F(ServiceObject, EndsTheThreadThatNobodyStopped) {
    const size_t before = Threads();
    store_.OnAsked("logfilesize", RaiseStoreOutOfReach);
    qv_base_log* const object = Make();
    EXPECT_EQ(object->init(0, nullptr), -1);
    EXPECT_EQ(Threads(), before + 1);
    EXPECT_EQ(object->fini(), 0);
    EXPECT_TRUE(ThreadsBecome(before)) << Threads() << " instead of " << before;
    Gobble(object);
}

TEST_F(ServiceObject, CreatesAnotherInterfaceWithoutFreeingOrRegisteringIt) {
    qv_base_log* const object = Make();
    NS_BUNDLEMGR1::ServiceInterface* const first = object->GetInterface();
    NS_BUNDLEMGR1::ServiceInterface* const second = object->CreateInterface();
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, first);
    EXPECT_EQ(object->GetInterface(), second);
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
    EXPECT_EQ(object.init(0, nullptr), -1);
    EXPECT_EQ(object.fini(), 0);
    EXPECT_THAT(Registered(), IsEmpty());
}

}  // namespace
