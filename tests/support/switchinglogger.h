// Loggers that remember how their levels were switched, or refuse to have them switched.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "logger/logger.h"
#include "manager/logmgr.h"

namespace NS_TEST {

// A real logger beneath. For one thread, unless a hook takes care.
class SwitchingLogger : public NS_LOG_SERVICE1::Logger {
  public:
    using Logger::Logger;

    bool EnableLevel(unsigned int level) override {
        return Note("+" + std::to_string(level)) && Logger::EnableLevel(level);
    }
    bool DisableLevel(unsigned int level) override {
        return Note("-" + std::to_string(level)) && Logger::DisableLevel(level);
    }

    // These two do no more than remember, and refuse or not.
    bool EnableAllLevels() override { return Note("+all"); }
    bool DisableAllLevels() override { return Note("-all"); }

    std::vector<std::string> calls;  // "+1": level 1 was to be enabled; "-1": disabled
    bool refuses = false;
    std::function<void()> onSwitched;  // may throw

  private:
    bool Note(const std::string& call) {
        calls.push_back(call);
        if (onSwitched) {
            onSwitched();
        }
        return !refuses;
    }
};

// The manager's logger of that name; a new one stands behind those that are there.
inline SwitchingLogger& AddSwitchingLogger(const std::string& first, const std::string& second,
                                           const std::string& category = "debug") {
    NS_LOG_SERVICE1::LogMgr& manager = *NS_LOG_SERVICE1::LogMgr::Instance();
    auto* logger = manager.Loggers().FindOrAdd({first, second, category}, [&] {
        return std::make_unique<SwitchingLogger>(first, second, category, manager,
                                                 manager.Channels());
    });
    return dynamic_cast<SwitchingLogger&>(*logger);
}

}  // namespace NS_TEST
