// Steps that all have their turn, though one of them throws.
#pragma once

#include <exception>

namespace NS_LOG_SERVICE1 {

// Keeps the first exception of the steps until all are done.
//
// Thread safety: none.
class FirstException {
  public:
    // REQUIRES: the thread cannot be cancelled in `step`.
    template <class Step>
    void Attempt(Step step) {
        try {
            step();
        } catch (...) {
            first_ = first_ != nullptr ? first_ : std::current_exception();
        }
    }

    // Throws the exception, if there was one.
    void PassOn() const {
        if (first_ != nullptr) {
            std::rethrow_exception(first_);
        }
    }

  private:
    std::exception_ptr first_;
};

}  // namespace NS_LOG_SERVICE1
