// The slots of the service's interface and of its service object.
#include "abi/slots.h"
#include "qv_base_log/logmaintenanceinterface.h"
#include "service/serviceobjectfixture.h"

using NS_LOG_SERVICE1::LoggerIF;
using NS_LOG_SERVICE1::LogMgr;
using NS_LOG_SERVICE1::LogSvcIFImpl;
using NS_LOG_SERVICE1::LogSvcInterface;
using NS_LOG_SERVICE1::qv_base_log;
using NS_TEST::CallSlot;
using NS_TEST::ExpectSlotsFrom;
using NS_TEST::SlotOf;
using NS_TEST::TableOf;

namespace {

template <class Interface>
void ExpectSlotsOfTheInterface() {
    ExpectSlotsFrom(2, &Interface::GetIFName, &Interface::IsValid, &Interface::Init,
                    &Interface::Fini, &Interface::GetLogger, &Interface::SetOutputMode,
                    &Interface::GetModuleSwitch, &Interface::SetModuleSwitch,
                    &Interface::IsLevelEnabled, &Interface::IsLogOutputPara);
}

TEST(InterfaceSlots, AreNumberedAsClientsWereBuilt) {
    ExpectSlotsOfTheInterface<LogSvcInterface>();
    ExpectSlotsOfTheInterface<LogSvcIFImpl>();
}

TEST(InterfaceSlots, OfTheMaintenanceInterfaceAreNumberedAsDeclared) {
    using Interface = NS_LOG_SERVICE1::LogMaintenanceInterface;
    ExpectSlotsFrom(2, &Interface::GetIFName, &Interface::IsValid, &Interface::GetVersion,
                    &Interface::FlushAll, &Interface::OutputAll, &Interface::SetQueuedOutput,
                    &Interface::GetOutputMode, &Interface::HasPeriodicOutput,
                    &Interface::GetLoggers, &Interface::SetLoggerLevel, &Interface::SetLevel,
                    &Interface::GetChannels, &Interface::GetModules);
}

using ServiceTable = NS_TEST::ServiceObjectTest;

// A whole life of the interface, by slot numbers only.
TEST_F(ServiceTable, OfTheInterfaceRunsItsOperations) {
    store_.Set("logswitch", "1,0,1,0");
    store_.Set("bLogOutputPara", "5");
    qv_base_log* const object = Make();
    const void* const interface = object->GetInterface();
    EXPECT_EQ(CallSlot<std::string>(2, interface), "LogSvcInterface!");
    EXPECT_TRUE(CallSlot<bool>(3, interface));
    EXPECT_TRUE(CallSlot<bool>(4, interface));
    ASSERT_NE(LogMgr::InstanceIfAny(), nullptr);

    using Text = const std::string&;
    const std::string name = "a";
    const std::string category = "debug";
    LoggerIF* const logger =
        CallSlot<LoggerIF*, Text, Text, Text>(6, interface, name, name, category);
    EXPECT_EQ(logger, LogMgr::Instance()->GetLogger("a", "a", "debug"));
    EXPECT_EQ(CallSlot<unsigned>(7, interface, 2u), 0x41180003u);
    EXPECT_EQ(CallSlot<unsigned>(7, interface, 0u), 0u);
    const unsigned module = 7;
    const bool off = false;
    EXPECT_TRUE((CallSlot<bool, const unsigned&>(8, interface, module)));
    CallSlot<void, const unsigned&, const bool&>(9, interface, module, off);
    EXPECT_FALSE((CallSlot<bool, const unsigned&>(8, interface, module)));
    for (const unsigned level : {0u, 1u, 2u, 3u, 4u}) {
        EXPECT_EQ((CallSlot<bool, const unsigned&>(10, interface, level)), level == 0 || level == 2)
            << level;
    }
    EXPECT_EQ(CallSlot<unsigned>(11, interface), 5u);

    EXPECT_EQ(object->StopService(), 0);
    CallSlot<void>(5, interface);
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_EQ(object->fini(), 0);
    Gobble(object);
}

TEST_F(ServiceTable, OfTheInterfaceBeginsWithTheDestructors) {
    NS_TEST::CallDeletingDestructor(new LogSvcIFImpl);
    alignas(LogSvcIFImpl) std::byte storage[sizeof(LogSvcIFImpl)];
    CallSlot<void>(0, new (storage) LogSvcIFImpl);
}

ACE_Shared_Object* SharedObjectOf(qv_base_log& object) {
    return &static_cast<ACE_Shared_Object&>(object);
}

// The first of the service object's own slots: behind those of ACE_Event_Handler, suspend and
// resume.
size_t FirstSlot() {
    return SlotOf(&ACE_Service_Object::resume) + 1;
}

TEST(ServiceObjectSlots, StandBehindThoseOfAce) {
    EXPECT_GT(SlotOf(&ACE_Service_Object::suspend), SlotOf(&ACE_Event_Handler::remove_reference));
    ExpectSlotsFrom(FirstSlot() - 2, &ACE_Service_Object::suspend, &ACE_Service_Object::resume,
                    &qv_base_log::UnRegistSvc, &qv_base_log::GetName, &qv_base_log::StopService,
                    &qv_base_log::GetInterface, &qv_base_log::CreateInterface,
                    &qv_base_log::RemoveInterface, &qv_base_log::fini, &qv_base_log::init);
    // Those of the second table.
    ExpectSlotsFrom(2, &ACE_Shared_Object::init, &ACE_Shared_Object::fini,
                    &ACE_Shared_Object::info);
}

TEST_F(ServiceTable, OfTheServiceObjectRunsItsOperations) {
    qv_base_log* const object = Make();
    EXPECT_EQ(static_cast<void*>(static_cast<ACE_Event_Handler*>(object)),
              static_cast<void*>(object));
    void* const registered = object->GetInterface();
    const size_t first = FirstSlot();
    EXPECT_EQ(CallSlot<std::string>(first + 1, object), "qv_base_log");
    EXPECT_EQ(CallSlot<void*>(first + 3, object), registered);
    EXPECT_EQ((CallSlot<int, int, ACE_TCHAR**>(first + 7, object, 0, nullptr)), 0);
    EXPECT_NE(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_EQ(CallSlot<int>(first + 2, object), 0);
    EXPECT_EQ(CallSlot<int>(first, object), 0);
    EXPECT_TRUE(NS_TEST::Registered().empty());
    EXPECT_EQ(CallSlot<void*>(first + 3, object), registered);
    EXPECT_EQ(CallSlot<int>(first + 6, object), 0);
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_EQ(CallSlot<void*>(first + 3, object), nullptr);

    void* const created = CallSlot<void*>(first + 4, object);
    EXPECT_NE(created, nullptr);
    EXPECT_EQ(CallSlot<void*>(first + 3, object), created);
    CallSlot<void>(first + 5, object);
    EXPECT_EQ(CallSlot<void*>(first + 3, object), nullptr);
    CallSlot<void>(1, object);
    EXPECT_TRUE(NS_TEST::ListedObjects().empty());
}

TEST_F(ServiceTable, OfTheSharedObjectLeadsToTheSameOperations) {
    qv_base_log* const object = Make();
    ACE_Shared_Object* const shared = SharedObjectOf(*object);
    const ACE_Shared_Object plain;
    EXPECT_NE(TableOf(shared), TableOf(object));
    EXPECT_EQ(TableOf(shared)[4], TableOf(&plain)[4]) << "info is not ACE's own";
    EXPECT_EQ((CallSlot<int, int, ACE_TCHAR**>(2, shared, 0, nullptr)), 0);
    EXPECT_NE(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_EQ(object->StopService(), 0);
    EXPECT_EQ(CallSlot<int>(3, shared), 0);
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_EQ(object->GetInterface(), nullptr);
    CallSlot<void>(1, shared);
    EXPECT_TRUE(NS_TEST::ListedObjects().empty());
}

// The complete-object destructors, which free nothing, through either table.
TEST_F(ServiceTable, OfEitherBaseBeginsWithTheDestructor) {
    alignas(qv_base_log) std::byte storage[sizeof(qv_base_log)];
    CallSlot<void>(0, new (storage) qv_base_log);
    EXPECT_TRUE(NS_TEST::ListedObjects().empty());
    ACE_Shared_Object* const shared = SharedObjectOf(*new (storage) qv_base_log);
    CallSlot<void>(0, shared);
    EXPECT_TRUE(NS_TEST::ListedObjects().empty());
}

}  // namespace
