// The slots of the service's interface and of its service object.
#include "abi/slots.h"
#include "qv_base_log/logmaintenanceinterface.h"
#include "service/serviceobjectfixture.h"

using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;

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
    using Interface = LogMaintenanceInterface;
    ExpectSlotsFrom(2, &Interface::GetIFName, &Interface::IsValid, &Interface::GetVersion,
                    &Interface::FlushAll, &Interface::OutputAll, &Interface::SetQueuedOutput,
                    &Interface::GetOutputMode, &Interface::HasPeriodicOutput,
                    &Interface::GetLoggers, &Interface::SetLoggerLevel, &Interface::SetLevel,
                    &Interface::GetChannels, &Interface::GetModules);
}

using ServiceTable = ServiceObjectTest;

TEST_F(ServiceTable, OfTheInterfaceBeginsWithTheDestructors) {
    CallDeletingDestructor(new LogSvcIFImpl);
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
    EXPECT_TRUE(Registered().empty());
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
    EXPECT_TRUE(ListedObjects().empty());
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
    EXPECT_TRUE(ListedObjects().empty());
}

// The complete-object destructors, which free nothing, through either table.
TEST_F(ServiceTable, OfEitherBaseBeginsWithTheDestructor) {
    alignas(qv_base_log) std::byte storage[sizeof(qv_base_log)];
    CallSlot<void>(0, new (storage) qv_base_log);
    EXPECT_TRUE(ListedObjects().empty());
    ACE_Shared_Object* const shared = SharedObjectOf(*new (storage) qv_base_log);
    CallSlot<void>(0, shared);
    EXPECT_TRUE(ListedObjects().empty());
}

}  // namespace
