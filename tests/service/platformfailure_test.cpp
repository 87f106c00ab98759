// The service's entry with a platform that watches what it is given, and fails when it is told to:
// this program has some of the platform's functions in its own hands.
#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include "channel/systemcalls.h"
#include "qv_base_log/logmaintenanceinterface.h"
#include "service/serviceobjectfixture.h"
#include "support/allocations.h"
#include "support/forkedchild.h"

using NS_BUNDLEMGR1::CorbaConfigItems;
using NS_BUNDLEMGR1::ServiceInterface;
using NS_LOG_SERVICE1::FilePolicy;
using NS_LOG_SERVICE1::qv_base_log;
using NS_LOG_SERVICE1::TEDebugInfoBuf;
using namespace NS_TEST;
using namespace testing;

namespace {

// Plain memory, so that watching allocates nothing.
struct Watched {
    int registrations = 0;
    char name[64] = "";
    ServiceInterface* interface = nullptr;
    char bundle[64] = "";
    char service[64] = "";
};

Watched g_watched;
bool (*g_register)() = nullptr;         // what registering an interface answers
void (*g_onConfiguration)() = nullptr;  // called when the configuration store is asked for
int g_stamps = 0;                       // how many times were rendered
int g_refusedStamp = 0;                 // the number of the one that cannot be
void (*g_onStamp)() = nullptr;          // called when a time is rendered

void Keep(char (&to)[64], const std::string& text) {
    to[text.copy(to, sizeof(to) - 1)] = '\0';
}

// What the program would call without this file.
template <class Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace NS_BUNDLEMGR1 {

bool SetIFBuf(const std::string& name, ServiceInterface* interface) {
    ++g_watched.registrations;
    Keep(g_watched.name, name);
    g_watched.interface = interface;
    return g_register();
}

CorbaConfigItems* CorbaConfigItems::Instance() {
    if (g_onConfiguration != nullptr) {
        g_onConfiguration();
    }
    return Next<CorbaConfigItems*()>("_ZN13NS_BUNDLEMGR116CorbaConfigItems8InstanceEv")();
}

void GetZoneTimeStamp(const ACE_Time_Value& time, std::string& stamp) {
    if (g_onStamp != nullptr) {
        g_onStamp();
    }
    if (++g_stamps == g_refusedStamp) {
        throw std::runtime_error("no time zone");
    }
    Next<void(const ACE_Time_Value&, std::string&)>(
        "_ZN13NS_BUNDLEMGR116GetZoneTimeStampERK14ACE_Time_ValueRNSt7__cxx1112basic_stringIcSt11"
        "char_traitsIcESaIcEEE")(time, stamp);
}

}  // namespace NS_BUNDLEMGR1

#pragma GCC visibility push(default)

// The constructor of ServiceObjectBase, by the name that derived classes call it by.
#define BASE_CONSTRUCTOR "_ZN13NS_BUNDLEMGR117ServiceObjectBaseC2EPKcS2_"
extern "C" void ConstructServiceObjectBase(void* object, const char* bundle,
                                           const char* service) __asm__(BASE_CONSTRUCTOR);
extern "C" void ConstructServiceObjectBase(void* object, const char* bundle, const char* service) {
    Keep(g_watched.bundle, bundle);
    Keep(g_watched.service, service);
    Next<void(void*, const char*, const char*)>(BASE_CONSTRUCTOR)(object, bundle, service);
}

#pragma GCC visibility pop

namespace {

class PlatformFailure : public NS_TEST::ServiceObjectTest {
  protected:
    PlatformFailure() {
        g_watched = Watched();
        g_register = [] { return true; };
        g_onConfiguration = nullptr;
        g_stamps = 0;
        g_refusedStamp = 0;
    }
    ~PlatformFailure() override {
        g_onConfiguration = nullptr;
        g_onStamp = nullptr;
    }

    // Into the first category in the order of the names, unless told otherwise.
    static void Log(const char* text, const char* category = "corba_alarm") {
        Manager().GetLogger("a", "b", category)->Log("f.cpp", "Run", 7, 1, text);
    }

    // What init has registered.
    static NS_LOG_SERVICE1::LogMaintenanceInterface& Maintenance() {
        return dynamic_cast<NS_LOG_SERVICE1::LogMaintenanceInterface&>(*g_watched.interface);
    }

    // The contents of its only file.
    std::string LogFileText() const {
        const std::vector<std::string> files = ListLogFiles(Path("log"), "corba_alarm");
        EXPECT_THAT(files, SizeIs(1));
        return ReadFile(Path("log/" + files.front()));
    }
};

TEST_F(PlatformFailure, GetsTheNamesUnderWhichOthersKnowTheService) {
    qv_base_log* const object = Make();
    EXPECT_STREQ(g_watched.bundle, "qv_base_bundle");
    EXPECT_STREQ(g_watched.service, "qv_base_log");
    EXPECT_EQ(g_watched.registrations, 1);
    EXPECT_STREQ(g_watched.name, "LogSvcInterface");
    EXPECT_EQ(g_watched.interface, object->GetInterface());
    End(object);
}

TEST_F(PlatformFailure, ToRegisterTheInterfaceIsIgnored) {
    g_register = [] { return false; };
    qv_base_log* const object = Make();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(g_watched.interface, object->GetInterface());
    EXPECT_THAT(ListedObjects(), ElementsAre(object));
    End(object);
}

TEST_F(PlatformFailure, ToRegisterTheInterfaceLeavesNothingBehindWhenItThrows) {
    End(Make());
    g_register = []() -> bool { throw std::runtime_error("the registry is closed"); };
    gobbler_ = nullptr;
    for (int round = 0; round < 3; ++round) {
        const long before = LiveAllocations();
        try {
            Make();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "the registry is closed");
        }
        EXPECT_EQ(LiveAllocations(), before);
        EXPECT_NE(gobbler_, nullptr);
        EXPECT_THAT(ListedObjects(), IsEmpty());
    }
}

TEST_F(PlatformFailure, ToRegisterTheMaintenanceInterfaceLeavesTheServiceWithoutIt) {
    qv_base_log* const object = Make();
    g_register = []() -> bool { throw std::runtime_error("the registry is closed"); };
    EXPECT_EQ(object->init(0, nullptr), 0);
    EXPECT_STREQ(g_watched.name, "LogMaintenanceInterface");
    EXPECT_THAT(ListedObjects(), ElementsAre(object));
    End(object);
}

// The file was created: its first line is missing then.
TEST_F(PlatformFailure, ToRenderTheTimeOfANewFileIsTheCallersWhoseNumberIsUsedUp) {
    qv_base_log* const object = MakeAndInit();
    g_refusedStamp = 1;
    EXPECT_THROW(Log("refused"), std::runtime_error);
    EXPECT_EQ(g_stamps, 1);
    Log("written");
    EXPECT_THAT(LogFileText(), StartsWith("<2>\n"));
    EXPECT_THAT(Written("corba_alarm"), ElementsAre("written"));
    End(object);
}

// Nobody knows what has been written then: a closing line would say that all is well.
TEST_F(PlatformFailure, ToRenderTheTimeOfAQueuedRecordLeavesTheFileOpenAtTheEnd) {
#if defined(__SANITIZE_ADDRESS__)
    const __lsan::ScopedDisabler deliberate;  // what is left open is never freed
#endif
    qv_base_log* const object = MakeAndInit();
    Manager().outputmode = 1;
    Log("one");
    Log("two");
    Log("three");
    g_refusedStamp = 3;  // that of "two", behind those of the file and of "one"
    End(object);
    EXPECT_THAT(Written("corba_alarm"), ElementsAre("one"));
    EXPECT_THAT(LogFileText(), Not(HasSubstr("File close")));
}

TEST_F(PlatformFailure, ToRenderTheTimeOfALostRecordLeavesNoTornOneInTheFile) {
    qv_base_log* const object = MakeAndInit();
    TEDebugInfoBuf& channel = *Manager().Channels().Find("corba_alarm");
    channel.SetFilePolicy(FilePolicy::kKeepRecords);
    Log("zero");
    const size_t sizeBefore = LogFileText().size();
    Manager().outputmode = 1;
    Log("whole");
    Log("torn");
    Log("behind it");
    g_refusedStamp = g_stamps + 5;  // of the torn one, when it is rendered again
    {
        const FileSizeLimit limit(sizeBefore + 400);
        EXPECT_THROW(channel.Flush(), std::runtime_error);
    }
    EXPECT_EQ(g_stamps, g_refusedStamp);
    EXPECT_THAT(Written("corba_alarm"), ElementsAre("zero", "whole"));
    EXPECT_THAT(LogFileText(), EndsWith("</2>\n\n"));
    EXPECT_EQ(channel.FileStatistics().recordsWritten.Get(), 2u);
    EXPECT_EQ(channel.Dropped(), 2u);
    End(object);
}

TEST_F(PlatformFailure, ToRenderATimeBeforeDeathCostsThatRecordAlone) {
    qv_base_log* const object = MakeAndInit();
    Log("zero");
    Manager().outputmode = 1;
    Log("one");
    Log("two");
    Log("three");
    g_refusedStamp = g_stamps + 2;
    Manager().Channels().WriteBeforeDeath();
    EXPECT_THAT(Written("corba_alarm"), ElementsAre("zero", "one", "three"));
    EXPECT_EQ(Manager().Channels().Find("corba_alarm")->Dropped(), 1u);
    End(object);
}

TEST_F(PlatformFailure, ToRenderTheTimeOfOneFileKeepsNoOtherQueueFromBeingWritten) {
    qv_base_log* const object = MakeAndInit();
    Manager().outputmode = 1;
    Log("refused");
    Manager().GetLogger("a", "b", "corbasys")->Log("f.cpp", "Run", 7, 1, "written");
    g_refusedStamp = 1;
    EXPECT_THROW(Manager().FlushAll(), std::runtime_error);
    EXPECT_THAT(Written("corbasys"), ElementsAre("written"));
    End(object);
}

TEST_F(PlatformFailure, ToRenderTheTimeOfOneFileKeepsNoOtherQueueFromBeingWrittenAtExit) {
    constexpr int kOwn = 7;
    const pid_t child = ForkChild();
    if (child == 0) {
        MakeAndInit()->StopService();  // a thread that still starts would meet the exit of ACE
        Manager().outputmode = 1;
        Log("refused");
        Manager().GetLogger("a", "b", "corbasys")->Log("f.cpp", "Run", 7, 1, "written");
        g_refusedStamp = g_stamps + 1;
        std::exit(kOwn);
    }
    EXPECT_EQ(AwaitChild(child), kOwn);
    EXPECT_THAT(Written("corbasys"), ElementsAre("written"));
}

TEST_F(PlatformFailure, ToRenderTheTimeOfOneFileKeepsNoOtherQueueFromAnOperator) {
    qv_base_log* const object = MakeAndInit();
    Manager().outputmode = 1;
    Log("refused");
    Log("written", "corbasys");
    g_refusedStamp = 1;
    EXPECT_THROW(Maintenance().FlushAll(), std::runtime_error);
    EXPECT_THAT(Written("corbasys"), ElementsAre("written"));
    End(object);
}

// Nobody would write out the queues later.
TEST_F(PlatformFailure, ToRenderTheTimeOfAQueuedRecordSwitchesQueuedOutputOffAllTheSame) {
    qv_base_log* const object = MakeAndInit();
    Maintenance().SetQueuedOutput(true);
    Log("one");
    Log("two");
    Log("of another category", "debug");
    g_refusedStamp = 3;  // that of "two", behind those of the file and of "one"
    EXPECT_THROW(Maintenance().SetQueuedOutput(false), std::runtime_error);
    EXPECT_EQ(Maintenance().GetOutputMode(), 0u);
    EXPECT_THAT(Written("debug"), ElementsAre("of another category"));
    Log("three");
    EXPECT_THAT(Written("corba_alarm"), ElementsAre("one", "three"));
    End(object);
}

// The file stays, with one record more than it should have.
TEST_F(PlatformFailure, ToRenderTheTimeOfAClosingLineCountsNoRotation) {
    store_.Set("logfilesize", "1");
    qv_base_log* const object = MakeAndInit();
    g_refusedStamp = 3;  // behind those of the file and of "one"
    Log("one");
    const auto& counts = Manager().Channels().Find("corba_alarm")->FileStatistics();
    EXPECT_EQ(counts.rotations.Get(), 0u);
    Log("two");
    EXPECT_EQ(counts.rotations.Get(), 1u);
    EXPECT_EQ(counts.recordsWritten.Get(), 2u);
    End(object);
}

class SwitchingQueuedOutputOff : public PlatformFailure {};

// A record that is written directly overtakes those in the queue.
TEST_F(SwitchingQueuedOutputOff, WritesTheQueueBeforeOutputBecomesDirect) {
    static std::vector<unsigned int> modes;
    qv_base_log* const object = MakeAndInit();
    Maintenance().SetQueuedOutput(true);
    Log("one");
    Log("two");
    g_onStamp = [] { modes.push_back(Manager().outputmode); };
    Maintenance().SetQueuedOutput(false);
    g_onStamp = nullptr;
    ASSERT_GE(modes.size(), 3u) << "of the file and of both records";
    EXPECT_EQ(std::count(modes.begin(), modes.begin() + 3, 1u), 3);
    EXPECT_EQ(Maintenance().GetOutputMode(), 0u);
    End(object);
}

// As another thread's would be.
TEST_F(SwitchingQueuedOutputOff, WritesWhatIsQueuedWhileTheQueueIsWritten) {
    qv_base_log* const object = MakeAndInit();
    Maintenance().SetQueuedOutput(true);
    Log("one");
    g_onStamp = [] {
        g_onStamp = nullptr;
        Manager().GetLogger("a", "b", "corba_alarm")->Log("f.cpp", "Run", 7, 1, "meanwhile");
    };
    Maintenance().SetQueuedOutput(false);
    EXPECT_THAT(Written("corba_alarm"), ElementsAre("one", "meanwhile"));
    End(object);
}

TEST_F(PlatformFailure, ToRenderTheTimeOfAQueuedRecordIsReportedAtTheEndAsALoss) {
    qv_base_log* const object = MakeAndInit();
    Maintenance().SetFilePolicy(NS_LOG_SERVICE1::LOG_FILE_POLICY_CONTRACT);
    Manager().outputmode = 1;
    Log("one");
    Log("two");
    g_refusedStamp = 3;  // that of "two", behind those of the file and of "one"
    End(object);
    EXPECT_THAT(Proxy().Texts(),
                Contains(HasSubstr("corba_alarm: 1 records could not be written")));
}

// There is no channel yet into which the exception could be reported.
TEST_F(PlatformFailure, ToFindTheConfigurationStoreMakesInitFailAndStartsTheMonitor) {
    qv_base_log* const object = Make();
    g_onConfiguration = [] { RaiseStoreOutOfReach(); };
    EXPECT_EQ(object->init(0, nullptr), -1);
    g_onConfiguration = nullptr;
    EXPECT_THAT(Proxy().Printed(),
                ElementsAre(IsDiagnostic(1, "logimpl",
                                         "\n in [qv_base_log::init] LogSvcIFImpl::Init failed\n")));
    EXPECT_TRUE(IsMonitorRunning());
    End(object);
}

TEST_F(PlatformFailure, OfAnotherKindToFindTheConfigurationStorePassesOut) {
    NS_LOG_SERVICE1::LogSvcIFImpl service;
    g_onConfiguration = [] { throw std::runtime_error("broken"); };
    EXPECT_THROW(service.Init(), std::runtime_error);
    EXPECT_FALSE(IsMonitorRunning());
}

}  // namespace
