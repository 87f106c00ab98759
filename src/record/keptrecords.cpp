#include "record/keptrecords.h"

#include <algorithm>
#include <utility>

namespace NS_LOG_SERVICE1 {
namespace {

// Reserved at the start, so that a usual number of records allocates nothing under the owner's
// lock. Not the whole capacity, which may be any number.
constexpr size_t kReservedRecords = 4096;

}  // namespace

KeptRecords::KeptRecords(size_t capacity) : capacity_(capacity) {
    records_.reserve(std::min(capacity_, kReservedRecords));
}

void KeptRecords::Swap(KeptRecords& other) noexcept {
    std::swap(capacity_, other.capacity_);
    std::swap(records_, other.records_);
    std::swap(oldest_, other.oldest_);
}

}  // namespace NS_LOG_SERVICE1
