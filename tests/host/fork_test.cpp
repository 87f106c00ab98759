// Forks of a process whose other threads are in the platform meanwhile.
#include <ace/Guard_T.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "bundlemgr/bundlemgr.h"
#include "bundlemgr/ifbuf.h"
#include "bundlemgr/logsupport.h"
#include "host/configfixture.h"
#include "platform/hostcontrol.h"
#include "support/capturedoutput.h"
#include "support/forkedchild.h"
#include "support/otherservices.h"

using NS_BUNDLEMGR1::BundleMgr;

namespace {

class PlatformFork : public NS_TEST::ConfigTest {
  protected:
    static constexpr int kThreads = 3;
    static constexpr int kForks = 40;

    // What a child process that calls `action` ends with: 0, unless it hangs or something fails.
    static int StatusOfChild(const std::function<void()>& action) {
        const pid_t process = NS_TEST::ForkChild();
        if (process == 0) {
            action();
            NS_TEST::EndChild(HasFailure() ? 1 : 0);
        }
        return NS_TEST::AwaitChild(process);
    }

    // Forks again and again while other threads call `action` all the time. Each child calls it.
    static void ExpectUsableInChildren(const std::function<void()>& action) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "a child waits for ever when a thread was in the sanitizer's own allocator";
#endif
        std::atomic<int> begun{0};
        std::atomic<bool> ended{false};
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&] {
                for (++begun; !ended;) {
                    action();
                }
            });
        }
        while (begun < kThreads) {
            std::this_thread::yield();
        }
        int status = 0;
        for (int i = 0; i < kForks && status == 0; ++i) {
            status = StatusOfChild(action);
        }
        ended = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(status, 0) << "-14, a signal, means that it hangs";
    }

    // A child calls `action` that was forked while another thread held `lock`. The thread keeps it
    // until the fork is over, as one does that waits for the forking thread.
    template <class Lock>
    static void ExpectUsableInAChildOfAHeldLock(Lock& lock, const std::function<void()>& action) {
        std::atomic<bool> held{false};
        std::atomic<bool> forked{false};
        std::thread holder([&] {
            const ACE_Guard<Lock> guard(lock);
            held = true;
            while (!forked) {
                std::this_thread::yield();
            }
        });
        while (!held) {
            std::this_thread::yield();
        }
        EXPECT_EQ(StatusOfChild(action), 0) << "-14, a signal, means that it hangs";
        forked = true;
        holder.join();
        const ACE_Guard<Lock> guard(lock);
        EXPECT_TRUE(guard.locked());
    }
};

TEST_F(PlatformFork, LeavesTheRegistryOfInterfacesUsable) {
    ExpectUsableInChildren([] {
        NS_TEST::OtherInterface own;
        const NS_TEST::RegisteredInterface registered("name", own);
        EXPECT_FALSE(NS_BUNDLEMGR1::CheckIFBuf("name").empty());
    });
}

TEST_F(PlatformFork, LeavesTheConfigurationItemsUsable) {
    ItemsOf("a = 1\n");
    ExpectUsableInChildren([] {
        std::string value;
        EXPECT_TRUE(Store().GetStrItemInfo("a", value));
    });
}

TEST_F(PlatformFork, LetsTheChildReadTheConfigurationAgain) {
    Write("a = 1\n");
    ExpectUsableInChildren([] { EXPECT_EQ(AllItems().size(), 1U); });
}

TEST_F(PlatformFork, LeavesTheListOfServiceObjectsUsable) {
    ExpectUsableInChildren([] { const NS_TEST::OfferingServiceObject object(nullptr); });
}

TEST_F(PlatformFork, LeavesTheDiagnosticsUsable) {
    const NS_TEST::CapturedOutput errors(STDERR_FILENO);
    NS_BUNDLEMGR1::LogProxyProvider* const provider = NS_REFERENCE_HOST::StderrLogProxyProvider();
    provider->GetLogProxy("name")->SetServiceName("service");
    ExpectUsableInChildren([provider] {
        NS_BUNDLEMGR1::LogProxy* const proxy = provider->GetLogProxy("name");
        proxy->SetServiceName("service");
    });
    EXPECT_EQ(StatusOfChild([provider] { provider->GetLogProxy("name")->Print(1, "child"); }), 0);
    EXPECT_NE(errors.Text().find(" name service - child\n"), std::string::npos);
}

// Each second is rendered anew.
TEST_F(PlatformFork, LeavesTheRenderingOfTimesUsable) {
    std::atomic<time_t> second{0};
    ExpectUsableInChildren([&second] {
        std::string stamp;
        NS_BUNDLEMGR1::GetZoneTimeStamp(ACE_Time_Value(second += 1, 0), stamp);
    });
}

TEST_F(PlatformFork, LeavesTheListsLockFreeInTheChildAndDoesNotWaitForIt) {
    ACE_Recursive_Thread_Mutex& lock = BundleMgr::Instance()->GetLock();
    ExpectUsableInAChildOfAHeldLock(lock, [&lock] {
        const ACE_Guard<ACE_Recursive_Thread_Mutex> guard(lock);
        const ACE_Guard<ACE_Recursive_Thread_Mutex> again(lock);
        const NS_TEST::OfferingServiceObject object(nullptr);
        EXPECT_EQ(BundleMgr::Instance()->GetServiceObjects().size(), 1U);
    });
}

TEST_F(PlatformFork, LeavesTheMutexOfSingleObjectsFreeInTheChildAndDoesNotWaitForIt) {
    ExpectUsableInAChildOfAHeldLock(NS_BUNDLEMGR1::_g_actualmutex, [] {
        const ACE_Guard<ACE_Thread_Mutex> guard(NS_BUNDLEMGR1::_g_actualmutex);
    });
}

}  // namespace
