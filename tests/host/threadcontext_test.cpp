// The operation that the calling thread carries out.
#include "util/threadcontext.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "support/onthreads.h"

using NS_UTIL::ThreadContextInfo;
using NS_UTIL::ThreadContextMgr;
using NS_UTIL::ThreadContextScope;

namespace {

const std::string kLongText(100, 'u');

ThreadContextInfo Current() {
    return ThreadContextMgr::Instance()->GetThreadContext();
}

void Set(const ThreadContextInfo& context) {
    ThreadContextMgr::Instance()->SetThreadContext(context);
}

void ExpectEmpty(const ThreadContextInfo& context) {
    EXPECT_EQ(context.GetThreadId(), 0);
    EXPECT_EQ(context.GetInterfaceName(), "");
    EXPECT_EQ(context.GetUserInfo(), "");
    EXPECT_EQ(context.GetOperUUID(), "");
}

TEST(ThreadContext, IsEmptyUntilOneIsSetAndThenHoldsThat) {
    ExpectEmpty(ThreadContextInfo());
    std::thread([] {
        ExpectEmpty(Current());
        Set({17, "interface", "user", "uuid"});
        const ThreadContextInfo context = Current();
        EXPECT_EQ(context.GetThreadId(), 17);
        EXPECT_EQ(context.GetInterfaceName(), "interface");
        EXPECT_EQ(context.GetUserInfo(), "user");
        EXPECT_EQ(context.GetOperUUID(), "uuid");
    }).join();
}

TEST(ThreadContext, BelongsToItsThread) {
    Set({1, "here", "", ""});
    std::thread([] {
        ExpectEmpty(Current());
        Set({2, "there", "", ""});
        EXPECT_EQ(Current().GetInterfaceName(), "there");
    }).join();
    EXPECT_EQ(Current().GetInterfaceName(), "here");
}

TEST(ThreadContext, SharesItsContentsWithItsCopiesAndOutlivesItsReplacementInThem) {
    const ThreadContextInfo context(1, "interface", kLongText, "uuid");
    Set(context);
    const ThreadContextInfo first = Current();
    EXPECT_EQ(&first.GetUserInfo(), &context.GetUserInfo());
    Set({2, "interface", "second", "uuid"});
    const ThreadContextInfo second = Current();
    Set(ThreadContextInfo());
    EXPECT_EQ(first.GetUserInfo(), kLongText);
    EXPECT_EQ(second.GetUserInfo(), "second");
    ExpectEmpty(Current());
}

TEST(ThreadContext, LivesOnHereWhenAnotherThreadDestroysACopyAndThereWhenItsThreadEnds) {
    Set({3, kLongText, kLongText, kLongText});
    ThreadContextInfo kept;
    for (int i = 0; i < 3; ++i) {
        std::thread([&kept, moved = Current()] {
            EXPECT_EQ(moved.GetThreadId(), 3);
            Set({4, kLongText, "", ""});
            kept = Current();
        }).join();
        EXPECT_EQ(Current().GetOperUUID(), kLongText);
        EXPECT_EQ(kept.GetInterfaceName(), kLongText);
    }
}

TEST(ThreadContext, IsEmptyAgainOnceItWasMoved) {
    ThreadContextInfo context(1, "interface", "user", "uuid");
    const ThreadContextInfo moved = std::move(context);
    EXPECT_EQ(moved.GetOperUUID(), "uuid");
    context = ThreadContextInfo();
    ExpectEmpty(context);
}

TEST(ThreadContextScope, PutsThePreviousContextBackEvenWhenAnExceptionPasses) {
    Set(ThreadContextInfo());
    {
        const ThreadContextScope outer({1, "outer", "", ""});
        try {
            const ThreadContextScope inner({2, "inner", "", ""});
            EXPECT_EQ(Current().GetInterfaceName(), "inner");
            throw 1;
        } catch (int) {
            EXPECT_EQ(Current().GetInterfaceName(), "outer");
        }
    }
    ExpectEmpty(Current());
}

// Asks for the context when its thread ends, and tries to set another one.
struct LateUser {
    std::string* seen = nullptr;
    ~LateUser() {
        if (seen != nullptr) {
            *seen = "<" + Current().GetInterfaceName() + ">";
            Set({3, "late", "", ""});
        }
    }
};

// Function by function, because a file's thread-local objects are all made at once.
LateUser& EarlyBorn() {
    thread_local LateUser user;
    return user;
}

LateUser& LateBorn() {
    thread_local LateUser user;
    return user;
}

TEST(ThreadContext, CanBeAskedForWhileItsThreadEnds) {
    std::string seenFirst;
    std::string seenLast;
    std::thread([&] {
        EarlyBorn().seen = &seenLast;  // made before the context, so destroyed after it
        Set({1, "interface", "", ""});
        LateBorn().seen = &seenFirst;
    }).join();
    EXPECT_EQ(seenFirst, "<interface>");
    EXPECT_EQ(seenLast, "<>");
}

TEST(ThreadContext, IsSetAndReadByManyThreadsAtOnce) {
    const ThreadContextInfo shared(1, "interface", kLongText, "uuid");
    NS_TEST::OnThreads(4, [&shared](int) {
        for (int round = 0; round < 1000; ++round) {
            const ThreadContextScope scope(shared);
            EXPECT_EQ(Current().GetOperUUID(), "uuid");
        }
    });
    EXPECT_EQ(shared.GetUserInfo(), kLongText);
}

}  // namespace
