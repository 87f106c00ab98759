// The alarms that are active now.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace NS_NORTHBOUND {

enum class Severity { Warning, Minor, Major, Critical };

// The severity's name, for people.
const char* NameOf(Severity severity);

struct Alarm {
    uint64_t id = 0;
    uint32_t element = 0;
    std::string cause;
    Severity severity = Severity::Warning;
    bool isAcknowledged = false;
    bool isActive = true;
};

// Thread safety: any thread may call any operation.
class AlarmBoard {
  public:
    // A new alarm, with the next number.
    Alarm Raise(uint32_t element, const std::string& cause, Severity severity);

    // The oldest alarm goes. False when there is none; otherwise `cleared` tells which.
    bool ClearOldest(Alarm& cleared);

    // The alarm with the mark on it. Throws UnknownObjectError when it does not exist or has gone.
    Alarm Acknowledge(uint64_t id);

    // Oldest first.
    std::vector<Alarm> Active(Severity least) const;
    uint32_t CountOf(uint32_t element) const;
    std::size_t Count() const;

  private:
    mutable std::mutex mutex_;
    std::map<uint64_t, Alarm> active_;  // by number, which is by age
    uint64_t last_ = 0;
};

}  // namespace NS_NORTHBOUND
