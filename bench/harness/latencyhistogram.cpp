#include "harness/latencyhistogram.h"

#include <algorithm>
#include <cmath>

namespace NS_BENCH {

// Values below 64 have a bucket each; above, the six bits behind the leading one choose it.
unsigned LatencyHistogram::BucketOf(uint64_t value) {
    if (value < (1U << kBits)) {
        return static_cast<unsigned>(value);
    }
    const unsigned leading = 63U - static_cast<unsigned>(__builtin_clzll(value));
    const unsigned shift = leading - kBits;
    const unsigned bucket =
        ((shift + 1) << kBits) + static_cast<unsigned>((value >> shift) - (1U << kBits));
    return std::min(bucket, kBuckets - 1);
}

uint64_t LatencyHistogram::MiddleOf(unsigned bucket) {
    if (bucket < (1U << kBits)) {
        return bucket;
    }
    const unsigned shift = (bucket >> kBits) - 1;
    const uint64_t low = ((bucket & ((1U << kBits) - 1)) + (uint64_t{1} << kBits)) << shift;
    return low + ((uint64_t{1} << shift) >> 1U);
}

void LatencyHistogram::Add(uint64_t nanoseconds) {
    ++buckets_[BucketOf(nanoseconds)];
    ++count_;
    sum_ += nanoseconds;
    most_ = std::max(most_, nanoseconds);
}

void LatencyHistogram::Add(const LatencyHistogram& other) {
    for (unsigned i = 0; i < kBuckets; ++i) {
        buckets_[i] += other.buckets_[i];
    }
    count_ += other.count_;
    sum_ += other.sum_;
    most_ = std::max(most_, other.most_);
}

double LatencyHistogram::Percentile(double share) const {
    const auto wanted = static_cast<uint64_t>(std::ceil(share * static_cast<double>(count_)));
    uint64_t seen = 0;
    for (unsigned i = 0; i < kBuckets; ++i) {
        seen += buckets_[i];
        if (seen >= wanted && seen > 0) {
            return static_cast<double>(MiddleOf(i));
        }
    }
    return 0;
}

double LatencyHistogram::Mean() const {
    return count_ == 0 ? 0 : static_cast<double>(sum_) / static_cast<double>(count_);
}

}  // namespace NS_BENCH
