// What a call allocates once its thread has logged a record of its kind.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "manager/managerfixture.h"
#include "support/allocations.h"
#include "util/threadcontext.h"

namespace NS_LOG_SERVICE1 {
namespace {

constexpr int kRecords = 2000;

class CallAllocations : public NS_TEST::ManagerTest {
  protected:
    CallAllocations() {
        NS_UTIL::ThreadContextMgr::Instance()->SetThreadContext(
            NS_UTIL::ThreadContextInfo(7, "getManagedElements", "operator", "a long identifier"));
        Manager().logfilesize = 1'000'000'000;
        logger_ = Debug();
        logger_->EnableLevel(1);
    }

    static void Log(int level) { logger_->Log(file_, function_, 42, level, text_); }
    static void LogFormat(int level) {
        logger_->LogFormat(file_, function_, 42, level, "request %d of %s took %.3f ms", 12345,
                           "NE=0815-4711", 12.3456);
    }

    // How many allocations `count` calls make after as many have been made already.
    template <class Call>
    static size_t Of(Call call, int count = kRecords) {
        for (int i = 0; i < count; ++i) {
            call();
        }
        NS_TEST::ForgetAllocations();
        for (int i = 0; i < count; ++i) {
            call();
        }
        return NS_TEST::AllocationsOfThisThread().count;
    }

    inline static Logger* logger_ = nullptr;
    inline static const std::string file_ = "networkelement.cpp";
    inline static const std::string function_ = "GetManagedElements";
    inline static const std::string text_ = std::string(100, 't');
};

TEST_F(CallAllocations, AreNoneForARecordThatIsWrittenAtOnce) {
    EXPECT_EQ(Of([] { Log(1); }), 0u);
    EXPECT_EQ(Of([] { LogFormat(1); }), 0u);
}

TEST_F(CallAllocations, AreNoneForARecordThatIsKeptBack) {
    EXPECT_EQ(Of([] { Log(2); }), 0u);
    EXPECT_EQ(Of([] { LogFormat(2); }), 0u);
}

// It fills less than a quarter of what a record is given at first.
TEST_F(CallAllocations, AreNoneForAVeryShortRecordThatIsKeptBack) {
    NS_UTIL::ThreadContextMgr::Instance()->SetThreadContext(
        NS_UTIL::ThreadContextInfo(7, "", "", ""));
    const auto log = [] { logger_->Log("a.cpp", "F", 4, 2, ""); };
    EXPECT_EQ(Of(log), 0u);
}

TEST_F(CallAllocations, AreFewForRecordsThatAreQueued) {
    Manager().outputmode = kQueuedOutput;
    EXPECT_LE(Of([] { Log(1); }), kRecords / 64u);
    EXPECT_LE(Of([] { LogFormat(1); }), kRecords / 64u);
}

// Whichever way the queue is written out, the next records use its memory again.
TEST_F(CallAllocations, AreNoneForRecordsThatAreQueuedOnceTheQueueWasWritten) {
    Manager().outputmode = kQueuedOutput;
    logger_->EnableLevel(0);
    TEDebugInfoBuf& channel = *Manager().Channels().Find("debug");
    using WayOut = void (*)(TEDebugInfoBuf&);
    const WayOut ways[] = {
        [](TEDebugInfoBuf& written) { written.Flush(); },
        [](TEDebugInfoBuf& written) { written.OutputAll(); },
        [](TEDebugInfoBuf&) { Log(0); },
    };
    for (const WayOut& writeOut : ways) {
        for (int i = 0; i < kRecords; ++i) {
            Log(1);
        }
        writeOut(channel);
        EXPECT_EQ(Of([] { Log(1); }, kRecords / 2), 0u) << "way " << &writeOut - ways;
        writeOut(channel);
    }
}

// The thread's memory stays with the thread's number, and its next records are of the same kind.
// Nothing else of the call is large then.
TEST_F(CallAllocations, OfALongConversionOfAQueuedRecordAreNotKept) {
    Manager().outputmode = kQueuedOutput;
    const auto queue = [](const std::string& text) {
        logger_->Log(file_, function_, 42, 1, text);
        Manager().FlushAll();
    };
    queue(std::string(1'000'000, 'v'));
    const long usual = NS_TEST::LiveAllocations();
    queue(std::string(1'000'000, '\xff'));
    EXPECT_LE(NS_TEST::LiveAllocations(), usual);
}

TEST_F(CallAllocations, AreNoneOnAnotherThreadEither) {
    std::thread([] { EXPECT_EQ(Of([] { LogFormat(1); }), 0u); }).join();
}

// A few long records must not hold on to their memory.
TEST_F(CallAllocations, OfALongRecordAreNotKept) {
    const std::string longText(1'000'000, 'x');
    const long before = NS_TEST::LiveAllocations();
    Of([] { Log(1); }, 10);
    const long usual = NS_TEST::LiveAllocations();
    for (int i = 0; i < 10; ++i) {
        logger_->Log(file_, function_, 42, 1, longText);
    }
    // Not even the block that a usual record would have had.
    EXPECT_LT(NS_TEST::LiveAllocations(), usual);
    EXPECT_GE(usual, before);
}

// The same for the text in UTF-8, and for the block of a record that newer ones have pushed out.
TEST_F(CallAllocations, OfALongConversionAndOfALongRecordThatWasKeptBackAreNotKept) {
    const std::string invalid(1'000'000, '\xff');
    Of([] { Log(1); }, 10);
    Of([] { Log(2); }, kRecords);
    const long usual = NS_TEST::LiveAllocations();
    logger_->Log(file_, function_, 42, 1, invalid);
    EXPECT_LT(NS_TEST::LiveAllocations(), usual);

    logger_->Log(file_, function_, 42, 2, invalid);
    Of([] { Log(2); }, static_cast<int>(Manager().filterbuflength.Get()) / 2);
    // The long one has just gone, and its block with it.
    EXPECT_LT(NS_TEST::LiveAllocations(), usual);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
