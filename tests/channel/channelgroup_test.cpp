// Threads that come while a file is written share the next write.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "channel/channel.h"
#include "channel/channelfixture.h"
#include "support/allocations.h"
#include "support/waiting.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

class ChannelGroup : public ChannelTest {
  protected:
    static constexpr size_t kThreads = 3;

    ChannelGroup() {
        Output("first");
        Calls().ScriptWrites([this](uint64_t, std::string_view bytes) {
            if (bytes.find("slow") != std::string_view::npos) {
                while (!AllSleep()) {
                    std::this_thread::yield();
                }
                FailAllocationsFrom(kTooLarge);
            }
            return Fate();
        });
    }
    ~ChannelGroup() override { FailAllocationsFrom(SIZE_MAX); }

    // There is memory for the frame of a record of this size, but not for writing it with others.
    static constexpr size_t kTooLarge = 1000000;

    // Writes a record slowly, and meanwhile one of each detail on a thread of its own.
    void WriteMeanwhile(const std::array<std::string, kThreads>& details) {
        std::thread slow([this] { Output("slow"); });
        while (Calls().Writes() == 0) {
            std::this_thread::yield();
        }
        std::vector<std::thread> threads;
        for (size_t i = 0; i < kThreads; ++i) {
            threads.emplace_back([this, i, &details] {
                threads_[i] = static_cast<pid_t>(::syscall(SYS_gettid));
                try {
                    Output(details[i]);
                } catch (const std::bad_alloc&) {
                    ++exceptions_;
                }
            });
        }
        slow.join();
        for (std::thread& thread : threads) {
            thread.join();
        }
        writes_ = Calls().Writes();
        Calls().ScriptWrites(nullptr);
    }

    std::atomic<int> exceptions_{0};
    uint64_t writes_ = 0;

  private:
    // They have nothing to wait for but their record.
    bool AllSleep() const {
        return std::all_of(threads_.begin(), threads_.end(),
                           [](const auto& thread) { return IsAsleep(thread); });
    }

    std::array<std::atomic<pid_t>, kThreads> threads_{};
};

TEST_F(ChannelGroup, IsWrittenWithOneWrite) {
    WriteMeanwhile({"one", "two", "three"});
    EXPECT_EQ(exceptions_, 0);
    EXPECT_EQ(writes_, 2u);  // the slow one, and one for all that came meanwhile
    const auto records = OfKind(ParseLogPieces(channel_->CurrentPath()), ParsedPiece::RECORD);
    ASSERT_EQ(records.size(), 2 + kThreads);
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(records[i].number, i + 1);
    }
}

// Each thread learns of its own record only, and no number is missing.
TEST_F(ChannelGroup, LosesOnlyTheRecordThatMeetsAnException) {
    WriteMeanwhile({"one", std::string(kTooLarge, 'x'), "three"});
    EXPECT_EQ(exceptions_, 1);
    const std::string written = Written();
    EXPECT_NE(written.find("one"), std::string::npos);
    EXPECT_NE(written.find("three"), std::string::npos);
    EXPECT_EQ(written.find("xxx"), std::string::npos);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
