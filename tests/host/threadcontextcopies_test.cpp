// Copies of a context that outlive the setting, and threads that hand them on.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "util/threadcontext.h"

using NS_UTIL::ThreadContextInfo;
using NS_UTIL::ThreadContextMgr;

namespace {

const std::string kLongText(100, 'u');

ThreadContextInfo Context(int number) {
    return ThreadContextInfo(number, kLongText, kLongText, kLongText);
}

TEST(ThreadContextCopies, OutliveTheNextSetting) {
    ThreadContextMgr* const manager = ThreadContextMgr::Instance();
    manager->SetThreadContext(Context(1));
    const ThreadContextInfo first = manager->GetThreadContext();
    manager->SetThreadContext(Context(2));
    const ThreadContextInfo second = manager->GetThreadContext();
    manager->SetThreadContext(ThreadContextInfo());
    EXPECT_EQ(first.GetThreadId(), 1);
    EXPECT_EQ(first.GetUserInfo(), kLongText);
    EXPECT_EQ(second.GetThreadId(), 2);
    EXPECT_EQ(manager->GetThreadContext().GetThreadId(), 0);
}

TEST(ThreadContextCopies, DestroyedByAnotherThreadLeaveTheContextThere) {
    ThreadContextMgr* const manager = ThreadContextMgr::Instance();
    manager->SetThreadContext(Context(3));
    for (int i = 0; i < 3; ++i) {
        ThreadContextInfo handed = manager->GetThreadContext();
        std::thread([moved = std::move(handed)] { EXPECT_EQ(moved.GetThreadId(), 3); }).join();
        EXPECT_EQ(manager->GetThreadContext().GetOperUUID(), kLongText);
    }
}

TEST(ThreadContextCopies, OutliveTheThreadThatSetTheContext) {
    ThreadContextInfo kept;
    std::thread([&kept] {
        ThreadContextMgr::Instance()->SetThreadContext(Context(4));
        kept = ThreadContextMgr::Instance()->GetThreadContext();
    }).join();
    EXPECT_EQ(kept.GetInterfaceName(), kLongText);
}

TEST(ThreadContextCopies, OfOneContextAreSetByManyThreads) {
    const ThreadContextInfo shared = Context(5);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&shared] {
            for (int round = 0; round < 1000; ++round) {
                const NS_UTIL::ThreadContextScope scope(shared);
                const ThreadContextInfo copy = ThreadContextMgr::Instance()->GetThreadContext();
                EXPECT_EQ(copy.GetThreadId(), 5);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(shared.GetUserInfo(), kLongText);
}

}  // namespace
