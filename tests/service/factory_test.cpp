// The exported factory and the gobbler that it hands out.
#include <unistd.h>

#include "service/servicetest.h"
#include "support/capturedoutput.h"

using NS_BUNDLEMGR1::ServiceInterface;
using NS_LOG_SERVICE1::LogMgr;
using NS_LOG_SERVICE1::LogSvcInterface;
using NS_LOG_SERVICE1::qv_base_log;
using NS_TEST::ListedObjects;
using NS_TEST::Registered;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Factory = NS_TEST::RecordedServiceTest;

TEST_F(Factory, MakesAServiceObjectAndRegistersItsInterface) {
    qv_base_log* const object = Make();
    ASSERT_NE(object, nullptr);
    EXPECT_NE(gobbler_, nullptr);
    EXPECT_THAT(ListedObjects(), ElementsAre(object));
    ASSERT_NE(object->GetInterface(), nullptr);
    EXPECT_THAT(Registered(), ElementsAre(object->GetInterface()));
    EXPECT_NE(dynamic_cast<LogSvcInterface*>(object->GetInterface()), nullptr);
    EXPECT_THAT(NS_BUNDLEMGR1::CheckIFBuf("LogSvcInterface!"), IsEmpty());
    End(object);
}

TEST_F(Factory, StartsNothing) {
    qv_base_log* const object = Make();
    EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
    EXPECT_THAT(NS_TEST::ListFiles(Path("log")), IsEmpty());
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

TEST_F(Factory, HandsOutAGobblerThatFreesTheObject) {
    qv_base_log* const object = Make();
    EXPECT_EQ(object->fini(), 0);
    Gobble(object);
    EXPECT_THAT(ListedObjects(), IsEmpty());
}

// The interface belongs to fini; whoever skips it keeps a registered, working interface.
TEST_F(Factory, HandsOutAGobblerThatLeavesTheInterfaceAlone) {
    qv_base_log* const object = Make();
    ServiceInterface* const interface = object->GetInterface();
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
    const NS_TEST::CapturedOutput errors(STDERR_FILENO);
    gobbler_(nullptr);
    EXPECT_THAT(errors.Text(),
                testing::MatchesRegex("ACE_ASSERT: file .*logimpl.*, line [0-9]+ assertion failed "
                                      "for '_p != 0'\\.\n?"));
}

TEST_F(Factory, MakesObjectsThatAreIndependent) {
    qv_base_log* const first = Make();
    qv_base_log* const second = Make();
    EXPECT_NE(first, second);
    EXPECT_THAT(ListedObjects(), ElementsAre(first, second));
    EXPECT_THAT(Registered(), ElementsAre(first->GetInterface(), second->GetInterface()));
    EXPECT_EQ(first->fini(), 0);
    Gobble(first);
    EXPECT_THAT(Registered(), ElementsAre(second->GetInterface()));
    EXPECT_EQ(second->fini(), 0);
    Gobble(second);
}

TEST_F(Factory, CanBeUsedAgainAfterTheEnd) {
    for (int life = 0; life < 3; ++life) {
        qv_base_log* const object = Make();
        EXPECT_EQ(object->init(0, nullptr), 0);
        LogMgr::Instance()->GetLogger("a", "b", "debug")->Log("f", "f", 1, -1, "text");
        End(object);
        EXPECT_EQ(LogMgr::InstanceIfAny(), nullptr);
        EXPECT_THAT(Registered(), IsEmpty());
        EXPECT_THAT(ListedObjects(), IsEmpty());
    }
}

}  // namespace
