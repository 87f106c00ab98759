// The context header: which operation a record belongs to.
#include "record/contextheader.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <thread>

#include "util/threadcontext.h"

using NS_UTIL::ThreadContextInfo;
using NS_UTIL::ThreadContextScope;

namespace NS_LOG_SERVICE1 {
namespace {

std::string HeaderIn(const ThreadContextInfo& context) {
    const ThreadContextScope scope(context);
    return BuildContextHeader();
}

TEST(ContextHeader, HasAllLabelsWhateverIsKnown) {
    EXPECT_EQ(BuildContextHeader(), ",TopT:0,If:,UserMsg:");
    EXPECT_EQ(HeaderIn({12, "getNE", "opr1", "U"}), "U,TopT:12,If:getNE,UserMsg:opr1");
    EXPECT_EQ(HeaderIn({0, "", "", ""}), ",TopT:0,If:,UserMsg:");
    EXPECT_EQ(HeaderIn({0, "getNE", "", ""}), ",TopT:0,If:getNE,UserMsg:");
    EXPECT_EQ(HeaderIn({0, "", "opr1", ""}), ",TopT:0,If:,UserMsg:opr1");
    EXPECT_EQ(HeaderIn({0, "", "", "U"}), "U,TopT:0,If:,UserMsg:");
}

TEST(ContextHeader, ShowsEveryThreadNumber) {
    for (const int number : {-1, 1234567, INT_MAX, INT_MIN}) {
        EXPECT_EQ(HeaderIn({number, "", "", ""}),
                  ",TopT:" + std::to_string(number) + ",If:,UserMsg:");
    }
}

TEST(ContextHeader, TakesThePiecesAsTheyAreAndOfAnyLength) {
    EXPECT_EQ(HeaderIn({1, "If:,", "a,b\nc", "%s%n"}), "%s%n,TopT:1,If:If:,,UserMsg:a,b\nc");
    const std::string interface(5000, 'i');
    const std::string user(70000, 'u');
    const std::string identifier(300, 'o');
    EXPECT_EQ(HeaderIn({12, interface, user, identifier}),
              identifier + ",TopT:12,If:" + interface + ",UserMsg:" + user);
}

TEST(ContextHeader, FollowsEveryChangeOfTheCallingThreadsContext) {
    const ThreadContextScope outer(ThreadContextInfo(1, "a", "b", "c"));
    EXPECT_EQ(BuildContextHeader(), "c,TopT:1,If:a,UserMsg:b");
    EXPECT_EQ(HeaderIn({2, "d", "e", "f"}), "f,TopT:2,If:d,UserMsg:e");
    EXPECT_EQ(BuildContextHeader(), "c,TopT:1,If:a,UserMsg:b");
    std::string elsewhere;
    std::thread([&elsewhere] { elsewhere = BuildContextHeader(); }).join();
    EXPECT_EQ(elsewhere, ",TopT:0,If:,UserMsg:");
}

// Its memory keeps what the text before has left there.
TEST(ContextHeader, IsTheSameInUsedMemory) {
    ContextHeader header;
    for (const size_t uuidLength : {3U, 3U, 0U, 40U, 41U, 1U, 9000U, 9000U, 2U}) {
        for (const size_t userLength : {0U, 5000U, 5U}) {
            const std::string uuid(uuidLength, 'o');
            const std::string user(userLength, 'u');
            const ThreadContextScope scope(ThreadContextInfo(7, "getNE", user, uuid));
            header.Build();
            EXPECT_EQ(header.Text(), uuid + ",TopT:7,If:getNE,UserMsg:" + user);
        }
        header.FreeIfLarger(8000);
        EXPECT_LE(header.Capacity(), 8000U);
    }
}

TEST(ContextHeader, GivesUpMoreMemoryThanItMayKeep) {
    const ThreadContextScope scope(ThreadContextInfo(1, "a", std::string(5000, 'u'), "c"));
    ContextHeader header;
    header.Build();
    const size_t capacity = header.Capacity();
    EXPECT_GT(capacity, 5000u);
    header.FreeIfLarger(capacity);
    EXPECT_EQ(header.Capacity(), capacity);
    header.FreeIfLarger(capacity - 1);
    EXPECT_LT(header.Capacity(), 100u);
    header.Build();
    EXPECT_EQ(header.Text(), BuildContextHeader());
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
