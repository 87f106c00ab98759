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

TEST(ContextHeader, NamesTheOperation) {
    EXPECT_EQ(HeaderIn(ThreadContextInfo(12, "getNE", "opr1", "U")),
              "U,TopT:12,If:getNE,UserMsg:opr1");
}

TEST(ContextHeader, HasAllLabelsOnAThreadWithoutAContext) {
    EXPECT_EQ(BuildContextHeader(), ",TopT:0,If:,UserMsg:");
}

TEST(ContextHeader, HasAllLabelsWhereOnlyOnePieceIsKnown) {
    EXPECT_EQ(HeaderIn(ThreadContextInfo(0, "", "", "")), ",TopT:0,If:,UserMsg:");
    EXPECT_EQ(HeaderIn(ThreadContextInfo(0, "getNE", "", "")), ",TopT:0,If:getNE,UserMsg:");
    EXPECT_EQ(HeaderIn(ThreadContextInfo(0, "", "opr1", "")), ",TopT:0,If:,UserMsg:opr1");
    EXPECT_EQ(HeaderIn(ThreadContextInfo(0, "", "", "U")), "U,TopT:0,If:,UserMsg:");
}

TEST(ContextHeader, ShowsEveryThreadNumber) {
    EXPECT_EQ(HeaderIn(ThreadContextInfo(-1, "", "", "")), ",TopT:-1,If:,UserMsg:");
    EXPECT_EQ(HeaderIn(ThreadContextInfo(INT_MAX, "", "", "")), ",TopT:2147483647,If:,UserMsg:");
    EXPECT_EQ(HeaderIn(ThreadContextInfo(INT_MIN, "", "", "")), ",TopT:-2147483648,If:,UserMsg:");
    EXPECT_EQ(HeaderIn(ThreadContextInfo(1234567, "", "", "")), ",TopT:1234567,If:,UserMsg:");
}

TEST(ContextHeader, TakesThePiecesAsTheyAre) {
    EXPECT_EQ(HeaderIn(ThreadContextInfo(1, "If:,", "a,b\nc", "%s%n")),
              "%s%n,TopT:1,If:If:,,UserMsg:a,b\nc");
}

TEST(ContextHeader, HasNoLengthLimit) {
    const std::string interface(5000, 'i');
    const std::string user(70000, 'u');
    const std::string identifier(300, 'o');
    EXPECT_EQ(HeaderIn(ThreadContextInfo(12, interface, user, identifier)),
              identifier + ",TopT:12,If:" + interface + ",UserMsg:" + user);
}

TEST(ContextHeader, FollowsEveryChangeOfTheContext) {
    const ThreadContextScope outer(ThreadContextInfo(1, "a", "b", "c"));
    EXPECT_EQ(BuildContextHeader(), "c,TopT:1,If:a,UserMsg:b");
    EXPECT_EQ(HeaderIn(ThreadContextInfo(2, "d", "e", "f")), "f,TopT:2,If:d,UserMsg:e");
    EXPECT_EQ(BuildContextHeader(), "c,TopT:1,If:a,UserMsg:b");
}

TEST(ContextHeader, IsTheCallingThreadsOwn) {
    const ThreadContextScope scope(ThreadContextInfo(1, "a", "b", "c"));
    std::string header;
    std::thread([&header] { header = BuildContextHeader(); }).join();
    EXPECT_EQ(header, ",TopT:0,If:,UserMsg:");
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
