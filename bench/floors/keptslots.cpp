#include "floors/keptslots.h"

#include <cstring>

#include "harness/sample.h"

namespace NS_BENCH {

KeptSlots::KeptSlots(const Job& job)
    : dumps_(job.subject == "dump"), file_(job.directory + "/dump.log"), slots_(kKeptLength) {}

void KeptSlots::Prepare() {
    for (int i = 0; i < kKeptLength; ++i) {
        Keep(i);
    }
}

void KeptSlots::Record(int /*category*/, int number) {
    if (dumps_) {
        Dump();
    } else {
        Keep(number);
    }
}

void KeptSlots::Keep(int number) {
    char body[kRecordTextSize];
    const auto size = static_cast<size_t>(WriteRecordBody(body, number) - body);
    const std::lock_guard<std::mutex> guard(mutex_);
    Slot& slot = slots_[next_];
    next_ = (next_ + 1) % slots_.size();
    std::memcpy(slot.text, body, size);
    slot.size = size;
}

void KeptSlots::Dump() {
    const std::lock_guard<std::mutex> guard(mutex_);
    dump_.clear();
    for (size_t i = 0; i < slots_.size(); ++i) {
        const Slot& slot = slots_[(next_ + i) % slots_.size()];
        dump_.insert(dump_.end(), slot.text, slot.text + slot.size);
    }
    file_.Write(dump_.data(), dump_.size());
}

}  // namespace NS_BENCH
