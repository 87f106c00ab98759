// A counter that one thread at a time changes and any thread reads.
#pragma once

#include <cstdint>

#include "base/relaxedatomic.h"

namespace NS_LOG_SERVICE1 {

// REQUIRES: writers hold the lock that guards what is counted. So counting needs no atomic
// read-modify-write. Readers need no lock and may see a value late.
class Counter {
  public:
    void Add(uint64_t amount) { value_.Set(value_.Get() + amount); }
    void Set(uint64_t value) { value_.Set(value); }
    void RaiseTo(uint64_t value) {
        if (value > value_.Get()) {
            value_.Set(value);
        }
    }
    uint64_t Get() const { return value_.Get(); }

  private:
    RelaxedAtomic<uint64_t> value_;
};

}  // namespace NS_LOG_SERVICE1
