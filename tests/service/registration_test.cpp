// The factory when its interface cannot be registered. This program has a registry of its own in
// the place of the platform's.
#include <stdexcept>

#include "service/servicetest.h"
#include "support/allocations.h"

using NS_BUNDLEMGR1::ServiceInterface;
using NS_LOG_SERVICE1::qv_base_log;
using NS_TEST::ListedObjects;
using NS_TEST::LiveAllocations;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

enum class Answer { kTrue, kFalse, kThrow };

Answer g_answer = Answer::kTrue;
int g_registrations = 0;
char g_name[64];
ServiceInterface* g_interface = nullptr;

}  // namespace

namespace NS_BUNDLEMGR1 {

bool SetIFBuf(const std::string& name, ServiceInterface* interface) {
    ++g_registrations;
    g_name[name.copy(g_name, sizeof(g_name) - 1)] = '\0';
    g_interface = interface;
    if (g_answer == Answer::kThrow) {
        throw std::runtime_error("the registry is closed");
    }
    return g_answer == Answer::kTrue;
}

}  // namespace NS_BUNDLEMGR1

namespace {

class Registration : public NS_TEST::RecordedServiceTest {
  protected:
    Registration() { g_registrations = 0; }
};

TEST_F(Registration, NamesTheInterfaceAsClientsLookForIt) {
    g_answer = Answer::kTrue;
    qv_base_log* const object = Make();
    EXPECT_EQ(g_registrations, 1);
    EXPECT_STREQ(g_name, "LogSvcInterface");
    EXPECT_EQ(g_interface, object->GetInterface());
    End(object);
}

TEST_F(Registration, NeedNotSucceed) {
    g_answer = Answer::kFalse;
    qv_base_log* const object = Make();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(g_interface, object->GetInterface());
    EXPECT_THAT(ListedObjects(), ElementsAre(object));
    End(object);
}

TEST_F(Registration, LeavesNothingBehindWhenItThrows) {
    g_answer = Answer::kTrue;
    End(Make());
    g_answer = Answer::kThrow;
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

}  // namespace
