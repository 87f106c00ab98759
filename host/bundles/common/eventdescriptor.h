// An event that happens once and that can be waited for together with other descriptors.
#pragma once

namespace NS_REFERENCE_HOST {

// Thread safety: any thread may call any operation.
class EventDescriptor {
  public:
    // Throws std::system_error when the process has no descriptor left.
    EventDescriptor();
    ~EventDescriptor();

    EventDescriptor(const EventDescriptor&) = delete;
    EventDescriptor& operator=(const EventDescriptor&) = delete;

    // Makes the event happen; again does no harm.
    void Signal() noexcept;

    // Whether it has happened.
    bool IsSignalled() const noexcept;

    // Polls as readable once the event has happened.
    int Descriptor() const noexcept { return descriptor_; }

  private:
    const int descriptor_;
};

}  // namespace NS_REFERENCE_HOST
