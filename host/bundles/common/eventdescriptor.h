// An event that happens once. It can be polled together with other descriptors.
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

    // Makes the event happen. May be called again.
    void Signal() noexcept;

    // Returns whether the event has happened.
    bool IsSignalled() const noexcept;

    // Polls as readable once the event has happened.
    int Descriptor() const noexcept { return descriptor_; }

  private:
    const int descriptor_;
};

}  // namespace NS_REFERENCE_HOST
