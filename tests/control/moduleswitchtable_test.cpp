// The switches of the bundles' modules.
#include "control/moduleswitchtable.h"

#include <gmock/gmock.h>

#include <atomic>
#include <climits>
#include <thread>
#include <vector>

#include "logimpl.h"
#include "support/onthreads.h"

using NS_LOG_SERVICE1::ModuleSwitchTable;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

class ModuleSwitches : public testing::Test {
  protected:
    ~ModuleSwitches() override { ModuleSwitchTable::Destroy(); }

    static ModuleSwitchTable& Table() { return *ModuleSwitchTable::Instance(); }
};

TEST_F(ModuleSwitches, AreOnForModulesThatWereNeverSet) {
    EXPECT_TRUE(Table().Get(7));
    EXPECT_TRUE(Table().Get(0));
    EXPECT_TRUE(Table().Get(UINT_MAX));
}

TEST_F(ModuleSwitches, AreNotRememberedForHavingBeenAskedFor) {
    Table().Get(7);
    EXPECT_THAT(Table().All(), IsEmpty());
}

TEST_F(ModuleSwitches, SetForOneModuleLeaveTheOthersOn) {
    Table().Set(7, false);
    EXPECT_FALSE(Table().Get(7));
    EXPECT_TRUE(Table().Get(8));
    EXPECT_TRUE(Table().Get(6));
}

TEST_F(ModuleSwitches, AreAllOnAgainAfterClear) {
    Table().Set(7, false);
    Table().Clear();
    EXPECT_TRUE(Table().Get(7));
    EXPECT_THAT(Table().All(), IsEmpty());
}

TEST_F(ModuleSwitches, ClearOnAnEmptyTableIsHarmless) {
    Table().Clear();
    EXPECT_TRUE(Table().Get(7));
}

TEST_F(ModuleSwitches, KeepOneEntryWithTheLastValue) {
    Table().Set(7, true);
    Table().Set(7, false);
    EXPECT_THAT(Table().All(), ElementsAre(Pair(7, false)));
    Table().Set(7, true);
    EXPECT_THAT(Table().All(), ElementsAre(Pair(7, true)));
    EXPECT_TRUE(Table().Get(7));
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

TEST_F(ModuleSwitches, StandInOneTableForTheProcess) {
    EXPECT_EQ(ModuleSwitchTable::Instance(), ModuleSwitchTable::Instance());
}

TEST_F(ModuleSwitches, AreForgottenWithTheTable) {
    Table().Set(7, false);
    ModuleSwitchTable::Destroy();
    EXPECT_THAT(Table().All(), IsEmpty());
    EXPECT_TRUE(Table().Get(7));
}

TEST_F(ModuleSwitches, MayBeDestroyedTwiceAndBeforeTheFirstUse) {
    ModuleSwitchTable::Destroy();
    Table().Set(7, false);
    ModuleSwitchTable::Destroy();
    ModuleSwitchTable::Destroy();
    EXPECT_TRUE(Table().Get(7));
}

TEST_F(ModuleSwitches, AreReachedThroughTheServiceInterface) {
    NS_LOG_SERVICE1::LogSvcIFImpl service;
    EXPECT_TRUE(service.GetModuleSwitch(3));
    service.SetModuleSwitch(3, false);
    EXPECT_FALSE(service.GetModuleSwitch(3));
    EXPECT_FALSE(Table().Get(3));
    service.SetModuleSwitch(3, true);
    EXPECT_TRUE(service.GetModuleSwitch(3));
}

TEST_F(ModuleSwitches, StandInOneTableForAllThreadsThatAskFirst) {
    std::vector<ModuleSwitchTable*> tables(8);
    NS_TEST::OnThreads(tables.size(),
                       [&](size_t thread) { tables[thread] = ModuleSwitchTable::Instance(); });
    EXPECT_THAT(tables, testing::Each(ModuleSwitchTable::Instance()));
}

// Each writer has modules of its own and sees its own writes, whatever the others do.
TEST_F(ModuleSwitches, MayBeSetAndReadByManyThreads) {
    constexpr unsigned int kThreads = 4;
    constexpr unsigned int kModules = 500;
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (unsigned int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&wrong, thread] {
            for (unsigned int i = 0; i < kModules; ++i) {
                const unsigned int module = i * kThreads + thread;
                const bool on = i % 2 == 0;
                Table().Set(module, on);
                wrong += Table().Get(module) == on ? 0 : 1;
                Table().Get(module + 1);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(Table().All().size(), kThreads * kModules);
}

TEST_F(ModuleSwitches, MayBeClearedWhileOthersUseThem) {
    std::atomic<bool> done{false};
    std::thread clearer([&] {
        while (!done) {
            Table().Clear();
        }
    });
    for (unsigned int i = 0; i < 2000; ++i) {
        Table().Set(i, false);
        Table().Get(i);
    }
    done = true;
    clearer.join();
    Table().Clear();
    EXPECT_THAT(Table().All(), IsEmpty());
}

}  // namespace
