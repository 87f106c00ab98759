// The process's file creation mask, changed for the length of a block.
#include "channel/creationmask.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include "channel/channelfixture.h"

using NS_TEST::ProcessStatus;

namespace NS_LOG_SERVICE1 {
namespace {

class CreationMask : public ::testing::Test {
  protected:
    CreationMask() : previous_(umask(0123)) {}
    ~CreationMask() override { umask(previous_); }

  private:
    mode_t previous_;
};

TEST_F(CreationMask, HoldsForTheBlock) {
    {
        ScopedCreationMask mask(007);
        EXPECT_EQ(ProcessStatus("Umask"), "0007");
        mask.Change(037);
        EXPECT_EQ(ProcessStatus("Umask"), "0037");
        mask.Change(0);
        EXPECT_EQ(ProcessStatus("Umask"), "0000");
    }
    EXPECT_EQ(ProcessStatus("Umask"), "0123");
}

TEST_F(CreationMask, ComesBackWhenAnExceptionLeavesTheBlock) {
    try {
        ScopedCreationMask mask(007);
        mask.Change(037);
        throw std::runtime_error("left");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(ProcessStatus("Umask"), "0123");
}

TEST_F(CreationMask, BelongsToOneBlockAtATime) {
    std::atomic<int> inside{0};
    std::atomic<bool> together{false};
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([&inside, &together] {
            for (int round = 0; round < 300; ++round) {
                ScopedCreationMask mask(007);
                if (++inside != 1) {
                    together = true;
                }
                mask.Change(037);
                --inside;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(together);
    EXPECT_EQ(ProcessStatus("Umask"), "0123");
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
