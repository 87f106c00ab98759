// Something to wait for that happens again and again.
#pragma once

#include <chrono>

namespace NS_REFERENCE_HOST {

// Thread safety: one thread.
class Ticks {
  public:
    // Throws std::system_error.
    explicit Ticks(std::chrono::seconds interval);
    ~Ticks();

    Ticks(const Ticks&) = delete;
    Ticks& operator=(const Ticks&) = delete;

    // Polls as readable once an interval is over, until Take.
    int Descriptor() const { return descriptor_; }

    // Takes all intervals that are over.
    void Take() const;

  private:
    const int descriptor_;
};

}  // namespace NS_REFERENCE_HOST
