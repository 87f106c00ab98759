#include "command/tally.h"

#include <algorithm>

namespace NS_LOG_READER {
namespace {

constexpr size_t kMostTexts = 100000;

// Times of the next thousands of years; beyond them, spans would not fit into 64 bits.
constexpr Time kMostTime = Time{100000000000} * kMicrosPerSecond;

// The boundaries of spans fall on multiples of their length.
Time RoundDown(Time time, Time width) {
    const Time rest = time % width;
    return time - (rest < 0 ? rest + width : rest);
}

}  // namespace

void Tally::Count(std::string_view text) {
    key_.assign(text);
    ++counts_[key_];
    if (counts_.size() > kMostTexts) {
        ForgetTheRarest();
    }
}

void Tally::ForgetTheRarest() {
    std::vector<uint64_t> all;
    for (const auto& [text, count] : counts_) {
        all.push_back(count);
    }
    const auto middle = all.begin() + static_cast<std::ptrdiff_t>(all.size() / 2);
    std::nth_element(all.begin(), middle, all.end());
    const uint64_t limit = *middle;
    for (auto entry = counts_.begin(); entry != counts_.end();) {
        entry = entry->second <= limit ? counts_.erase(entry) : std::next(entry);
    }
    isExact_ = false;
}

std::vector<std::pair<std::string, uint64_t>> Tally::Top(size_t count) const {
    std::vector<std::pair<std::string, uint64_t>> all(counts_.begin(), counts_.end());
    std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) {
        return a.second != b.second ? a.second > b.second : a.first < b.first;
    });
    all.resize(std::min(count, all.size()));
    return all;
}

void Histogram::Count(Time time, bool isError) {
    time = std::clamp(time, -kMostTime, kMostTime);
    if (width_ == 0) {
        width_ = kMicrosPerSecond;
        begin_ = RoundDown(time, width_);
    }
    while (time < begin_ || time >= begin_ + width_ * static_cast<Time>(kBins)) {
        if (time < begin_ &&
            begin_ - RoundDown(time, width_) <= width_ * static_cast<Time>(kBins - Bins().size())) {
            // Room at the end: everything moves up.
            const auto steps =
                static_cast<std::ptrdiff_t>((begin_ - RoundDown(time, width_)) / width_);
            std::rotate(bins_.begin(), bins_.end() - steps, bins_.end());
            begin_ -= steps * width_;
            break;
        }
        Widen();
    }
    Bin& bin = bins_[static_cast<size_t>((time - begin_) / width_)];
    ++bin.all;
    bin.errors += isError ? 1 : 0;
}

void Histogram::Widen() {
    const Time begin = RoundDown(begin_, 2 * width_);
    std::vector<Bin> wider(kBins);
    for (size_t i = 0; i < kBins; ++i) {
        const Time time = begin_ + static_cast<Time>(i) * width_;
        Bin& bin = wider[static_cast<size_t>((time - begin) / (2 * width_))];
        bin.all += bins_[i].all;
        bin.errors += bins_[i].errors;
    }
    bins_ = std::move(wider);
    begin_ = begin;
    width_ *= 2;
}

std::vector<Histogram::Bin> Histogram::Bins() const {
    size_t count = kBins;
    while (count > 0 && bins_[count - 1].all == 0) {
        --count;
    }
    return {bins_.begin(), bins_.begin() + static_cast<std::ptrdiff_t>(count)};
}

}  // namespace NS_LOG_READER
