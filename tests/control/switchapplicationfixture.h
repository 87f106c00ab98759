// Applying a scripted configuration's switches to the running service.
#pragma once

#include <string>

#include "control/switchinglogger.h"

namespace NS_TEST {

class SwitchApplicationTest : public SwitchingTest {
  protected:
    // All levels are on, both flags are 0, and so says the configuration.
    SwitchApplicationTest() {
        SetLevels("1111");
        Configure("1,1,1,1", "0", "0");
    }

    void Configure(const std::string& levels, const std::string& asnLog,
                   const std::string& outputPara) {
        store_.Set("logswitch", levels);
        store_.Set("bEnableAsnLog", asnLog);
        store_.Set("bLogOutputPara", outputPara);
    }

    void Check() { monitor_.Check(); }

    // The levels and the two flags: "1111/0/0".
    static std::string State() {
        return Levels() + "/" + std::to_string(Manager().bEnableAsnLog.Get()) + "/" +
               std::to_string(Manager().bLogOutputPara.Get());
    }

    NS_LOG_SERVICE1::LogSwitchMonitorMgr monitor_;
};

// Matches a diagnostic of the monitor.
inline auto MonitorSays(const std::string& text) {
    return IsDiagnostic(1, "logswitchmonitormgr", text);
}

}  // namespace NS_TEST
