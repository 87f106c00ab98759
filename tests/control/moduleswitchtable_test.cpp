// The switches of the bundles' modules.
#include "control/moduleswitchtable.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdlib>

#include "exithandler.h"
#include "support/onthreads.h"

using NS_LOG_SERVICE1::ModuleSwitchTable;
using namespace testing;

namespace {

bool g_looksAtTheEnd = false;

// Runs after everything else of the program that runs at its exit.
__attribute__((destructor(101))) void LookAtTheEnd() {
    if (g_looksAtTheEnd && ModuleSwitchTable::Instance()->Get(7)) {
        _exit(1);
    }
}

class ModuleSwitches : public testing::Test {
  protected:
    ~ModuleSwitches() override { ModuleSwitchTable::Destroy(); }

    static ModuleSwitchTable& Table() { return *ModuleSwitchTable::Instance(); }
};

TEST_F(ModuleSwitches, AreOnForModulesThatWereNeverSetAndNotRememberedForBeingAskedFor) {
    for (const unsigned int module : {7U, 0U, UINT_MAX}) {
        EXPECT_TRUE(Table().Get(module));
    }
    EXPECT_THAT(Table().All(), IsEmpty());
}

TEST_F(ModuleSwitches, KeepOneEntryPerModuleWithTheLastValue) {
    for (const bool on : {true, false, true, false}) {
        Table().Set(7, on);
        EXPECT_EQ(Table().Get(7), on);
        EXPECT_THAT(Table().All(), ElementsAre(Pair(7, on)));
    }
    EXPECT_TRUE(Table().Get(6));
    EXPECT_TRUE(Table().Get(8));
}

TEST_F(ModuleSwitches, AreAllOnAgainAfterClear) {
    for (int i = 0; i < 2; ++i) {
        Table().Clear();
        EXPECT_THAT(Table().All(), IsEmpty());
        EXPECT_TRUE(Table().Get(7));
        Table().Set(7, false);
    }
}

TEST_F(ModuleSwitches, OrderNumbersAboveTheSignedRangeAsNegativeOnes) {
    Table().Set(1, true);
    Table().Set(2147483648U, false);
    Table().Set(4294967295U, false);
    Table().Set(2147483647U, true);
    EXPECT_THAT(Table().All(), ElementsAre(Pair(INT_MIN, false), Pair(-1, false), Pair(1, true),
                                           Pair(INT_MAX, true)));
    EXPECT_FALSE(Table().Get(2147483648U));
    EXPECT_FALSE(Table().Get(4294967295U));
    EXPECT_TRUE(Table().Get(2147483647U));
}

TEST_F(ModuleSwitches, AreForgottenWithTheTable) {
    ModuleSwitchTable::Destroy();
    EXPECT_EQ(ModuleSwitchTable::Instance(), ModuleSwitchTable::Instance());
    Table().Set(7, false);
    ModuleSwitchTable::Destroy();
    ModuleSwitchTable::Destroy();
    EXPECT_THAT(Table().All(), IsEmpty());
    EXPECT_TRUE(Table().Get(7));
}

TEST_F(ModuleSwitches, AreStillThereForThreadsThatRunWhileTheProcessExits) {
    const auto exitWithSwitchOff = [] {
        NS_LOG_SERVICE1::HandleExit();
        g_looksAtTheEnd = true;
        Table().Set(7, false);
        exit(0);
    };
    EXPECT_EXIT(exitWithSwitchOff(), ExitedWithCode(0), "");
}

// Each writer has modules of its own and sees its own writes, whatever the others do.
TEST_F(ModuleSwitches, MayBeSetReadAndClearedByManyThreads) {
    constexpr unsigned int kThreads = 4;
    constexpr unsigned int kModules = 500;
    std::atomic<int> wrong{0};
    NS_TEST::OnThreads(kThreads, [&wrong](unsigned int thread) {
        for (unsigned int i = 0; i < kModules; ++i) {
            const unsigned int module = i * kThreads + thread;
            Table().Set(module, i % 2 == 0);
            wrong += Table().Get(module) == (i % 2 == 0) ? 0 : 1;
            Table().Get(module + 1);
        }
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(Table().All().size(), kThreads * kModules);
    NS_TEST::OnThreads(2, [](int thread) {
        for (unsigned int i = 0; i < 2000; ++i) {
            if (thread == 0) {
                Table().Clear();
            } else {
                Table().Set(i, false);
            }
        }
    });
    Table().Clear();
    EXPECT_THAT(Table().All(), IsEmpty());
}

}  // namespace
