// The sizes and switches of the service, and the fields they are made of.
#include "base/logsettings.h"

#include <gtest/gtest.h>

#include "support/onthreads.h"

namespace NS_LOG_SERVICE1 {
namespace {

TEST(LogSettings, StartWithValuesThatDoWithoutAConfiguration) {
    const LogSettings settings;
    EXPECT_EQ(settings.logtimeinterval, 60u);
    EXPECT_EQ(settings.queuebuflength, 16384u);
    EXPECT_EQ(settings.filterbuflength, 128u);
    EXPECT_EQ(settings.logfilesize, 20971520u);
    EXPECT_EQ(settings.logfilecount, 10000u);
    EXPECT_EQ(settings.outputTask, 0);
    EXPECT_EQ(settings.outputmode, 0u);
    EXPECT_EQ(settings.bEnableAsnLog, 0u);
    EXPECT_EQ(settings.bLogOutputPara, 0u);
    EXPECT_TRUE(settings.levelSwitches.Get().none());
}

TEST(LogSettings, HaveFourSwitchesAndNoneAboveThem) {
    LevelSwitches switches;
    EXPECT_EQ(switches.size(), 4u);
    for (uint32_t level = 0; level < 4; ++level) {
        EXPECT_FALSE(IsLevelOn(switches, level));
        switches.set(level);
        EXPECT_TRUE(IsLevelOn(switches, level));
    }
    for (const uint32_t level : {4u, 64u, 4294967295u}) {
        EXPECT_FALSE(IsLevelOn(switches, level));
    }
}

TEST(RelaxedField, ReadsAndWritesLikeAPlainField) {
    RelaxedAtomic<uint32_t> field(7);
    EXPECT_EQ(field, 7u);
    field = 8;
    EXPECT_EQ(field.Get(), 8u);
    field.Set(9);
    const uint32_t value = field;
    EXPECT_EQ(value, 9u);
    EXPECT_EQ(RelaxedAtomic<int64_t>(), 0);
}

TEST(RelaxedField, LosesNoUpdateOfSeveralThreads) {
    RelaxedAtomic<uint32_t> sum;
    RelaxedAtomic<LevelSwitches> switches;
    NS_TEST::OnThreads(4, [&](int thread) {
        for (int round = 0; round <= 1000; ++round) {
            sum.Update([](uint32_t value) { return value + 1; });
            switches.Update(
                [thread](LevelSwitches value) { return value.flip(static_cast<size_t>(thread)); });
        }
    });
    EXPECT_EQ(sum, 4004u);
    EXPECT_TRUE(switches.Get().all());
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
