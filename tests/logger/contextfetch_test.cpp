// How often a record asks for its thread's context. This program has a context manager of its own
// in the place of the platform's, and it has another answer each time.
#include <atomic>

#include "manager/managertest.h"
#include "record/contextheader.h"
#include "util/threadcontext.h"

namespace {

std::atomic<int> g_fetches{0};

}  // namespace

namespace NS_UTIL {

ThreadContextInfo ThreadContextMgr::GetThreadContext() const noexcept {
    const int number = ++g_fetches;
    const std::string text = std::to_string(number);
    return ThreadContextInfo(number, "interface" + text, "user" + text, "uuid" + text);
}

}  // namespace NS_UTIL

namespace {

class ContextFetches : public NS_TEST::ManagerTest {
  protected:
    ContextFetches() { g_fetches = 0; }
};

TEST_F(ContextFetches, AreOneForEachItemInAFixedOrder) {
    EXPECT_EQ(NS_LOG_SERVICE1::BuildContextHeader(), "uuid4,TopT:1,If:interface2,UserMsg:user3");
    EXPECT_EQ(g_fetches, 4);
    EXPECT_EQ(NS_LOG_SERVICE1::BuildContextHeader(), "uuid8,TopT:5,If:interface6,UserMsg:user7");
}

TEST_F(ContextFetches, AreMadeForEveryRecordWhetherItsLevelIsOnOrOff) {
    Debug()->EnableLevel(0);
    Debug()->Log("f.cpp", "Run", 7, 1, "kept back");
    EXPECT_EQ(g_fetches, 4);
    Debug()->Log("f.cpp", "Run", 7, 0, "trigger");
    EXPECT_EQ(g_fetches, 8);
    EXPECT_THAT(Written("debug"),
                testing::HasSubstr("uuid8,TopT:5,If:interface6,UserMsg:user7, T:"));
    EXPECT_THAT(Written("debug"),
                testing::HasSubstr("uuid4,TopT:1,If:interface2,UserMsg:user3, T:"));
}

}  // namespace
