// How the benchmark puts its figures together.
#include <gmock/gmock.h>

#include "harness/latencyhistogram.h"
#include "table/results.h"

using testing::DoubleNear;
using testing::Optional;

namespace NS_BENCH {
namespace {

TEST(LatencyHistogram, GivesSmallValuesExactly) {
    LatencyHistogram calls;
    for (uint64_t i = 1; i <= 50; ++i) {
        calls.Add(i);
    }
    EXPECT_EQ(calls.Percentile(0.5), 25);
    EXPECT_EQ(calls.Percentile(0.99), 50);
    EXPECT_EQ(calls.Mean(), 25.5);
    EXPECT_EQ(calls.Most(), 50);
    EXPECT_EQ(calls.Count(), 50u);
}

TEST(LatencyHistogram, GivesAnyValueWithinASixtyFourth) {
    for (uint64_t value = 1; value < uint64_t{1} << 60U; value = value * 3 + 1) {
        LatencyHistogram calls;
        calls.Add(value);
        const auto exact = static_cast<double>(value);
        EXPECT_THAT(calls.Percentile(0.5), DoubleNear(exact, exact / 64)) << value;
        EXPECT_EQ(calls.Most(), exact);
    }
}

TEST(LatencyHistogram, FindsTheOneInAThousand) {
    LatencyHistogram calls;
    for (int i = 0; i < 9980; ++i) {
        calls.Add(40);
    }
    for (int i = 0; i < 20; ++i) {
        calls.Add(60);
    }
    EXPECT_EQ(calls.Percentile(0.99), 40);
    EXPECT_EQ(calls.Percentile(0.998), 40);
    EXPECT_EQ(calls.Percentile(0.999), 60);
}

TEST(LatencyHistogram, AddsUpThoseOfSeveralThreads) {
    LatencyHistogram one;
    one.Add(10);
    LatencyHistogram other;
    other.Add(20);
    other.Add(30);
    one.Add(other);
    EXPECT_EQ(one.Count(), 3u);
    EXPECT_EQ(one.Percentile(0.5), 20);
    EXPECT_EQ(one.Mean(), 20);
    EXPECT_EQ(one.Most(), 30);
}

TEST(LatencyHistogram, HoldsWhatItCannotTellApartInItsLastBucket) {
    LatencyHistogram calls;
    calls.Add(~uint64_t{0});
    EXPECT_GT(calls.Percentile(0.5), 9e18);
    EXPECT_EQ(LatencyHistogram().Percentile(0.5), 0);
    EXPECT_EQ(LatencyHistogram().Mean(), 0);
}

EntrantResult Measured(const char* label, Role role, const std::vector<double>& rounds) {
    EntrantResult result(Entrant{label, role, "", {}});
    for (const double value : rounds) {
        result.Add({{"ns", value}});
    }
    return result;
}

TEST(EntrantResult, TakesTheMedianOfItsRounds) {
    const auto odd = Measured("odd", Role::kService, {30, 10, 20}).Find("ns");
    ASSERT_TRUE(odd.has_value());
    EXPECT_EQ(odd->median, 20);
    EXPECT_EQ(odd->least, 10);
    EXPECT_EQ(odd->most, 30);
    EXPECT_EQ(Measured("even", Role::kService, {40, 10, 20, 30}).Find("ns")->median, 25);
    EXPECT_FALSE(Measured("none", Role::kService, {}).Find("ns").has_value());
}

TEST(CaseResult, ComparesWithTheFirstFloorAndTheQuickestPeer) {
    CaseResult result;
    result.entrants = {
        Measured("floor", Role::kFloor, {100}),     Measured("second floor", Role::kFloor, {50}),
        Measured("service", Role::kService, {150}), Measured("slow", Role::kPeer, {600}),
        Measured("quick", Role::kPeer, {300}),      Measured("failed", Role::kPeer, {})};
    EXPECT_THAT(result.RatioToFloor(result.entrants[2]), Optional(1.5));
    EXPECT_THAT(result.RatioToBestPeer(result.entrants[2]), Optional(0.5));
    EXPECT_THAT(result.RatioToBestPeer(result.entrants[3]), Optional(2));
    EXPECT_FALSE(result.RatioToFloor(result.entrants[5]).has_value());
}

TEST(CaseResult, ComparesWithNobodyWhereThereIsNobody) {
    CaseResult result;
    result.entrants = {Measured("service", Role::kService, {150})};
    EXPECT_FALSE(result.RatioToFloor(result.entrants[0]).has_value());
    EXPECT_FALSE(result.RatioToBestPeer(result.entrants[0]).has_value());
}

}  // namespace
}  // namespace NS_BENCH
