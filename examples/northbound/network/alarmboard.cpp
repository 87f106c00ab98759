// The alarms that are active now.
#include "network/alarmboard.h"

#include <algorithm>

#include "network/errors.h"

namespace NS_NORTHBOUND {

const char* NameOf(Severity severity) {
    switch (severity) {
        case Severity::Critical:
            return "critical";
        case Severity::Major:
            return "major";
        case Severity::Minor:
            return "minor";
        default:
            return "warning";
    }
}

Alarm AlarmBoard::Raise(uint32_t element, const std::string& cause, Severity severity) {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++last_;
    return active_[last_] = {last_, element, cause, severity, false, true};
}

bool AlarmBoard::ClearOldest(Alarm& cleared) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (active_.empty()) {
        return false;
    }
    cleared = active_.begin()->second;
    cleared.isActive = false;
    active_.erase(active_.begin());
    return true;
}

Alarm AlarmBoard::Acknowledge(uint64_t id) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = active_.find(id);
    if (found == active_.end()) {
        throw UnknownObjectError("alarm " + std::to_string(id) + " is not active");
    }
    found->second.isAcknowledged = true;
    return found->second;
}

std::vector<Alarm> AlarmBoard::Active(Severity least) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<Alarm> alarms;
    for (const auto& [id, alarm] : active_) {
        if (alarm.severity >= least) {
            alarms.push_back(alarm);
        }
    }
    return alarms;
}

uint32_t AlarmBoard::CountOf(uint32_t element) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<uint32_t>(
        std::count_if(active_.begin(), active_.end(),
                      [element](const auto& entry) { return entry.second.element == element; }));
}

std::size_t AlarmBoard::Count() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return active_.size();
}

}  // namespace NS_NORTHBOUND
