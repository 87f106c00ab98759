// The service's start from a scripted configuration.
#pragma once

#include <string>
#include <vector>

#include "control/controlfixture.h"
#include "logimpl.h"

namespace NS_TEST {

class ConfigurationTest : public ControlTest {
  protected:
    // Gives every item a value that differs from its default and from what the manager starts with.
    void FillStore() {
        store_.Set("logfilesize", "1001");
        store_.Set("logfilecount", "1002");
        store_.Set("queuebuflength", "1003");
        store_.Set("filterbuflength", "1004");
        store_.Set("logtimeinterval", "1005");
        store_.Set("logswitch", "0,1,1,0");
        store_.Set("outputmode", "0");
        store_.Set("bEnableAsnLog", "6");
        store_.Set("bLogOutputPara", "7");
    }

    bool Init() { return service_.Init(); }

    // The channels' queue and cache capacities, "Q/C" each.
    static std::vector<std::string> Capacities() {
        std::vector<std::string> capacities;
        Manager().Channels().ForEach(
            [&](const std::string&, const NS_LOG_SERVICE1::TEDebugInfoBuf& channel) {
                capacities.push_back(std::to_string(channel.QueueCapacity()) + "/" +
                                     std::to_string(channel.KeptCapacity()));
            });
        return capacities;
    }

    static bool IsMonitorRunning() {
        return NS_LOG_SERVICE1::LogSwitchMonitorMgr::Instance()->thr_count() == 1;
    }

    NS_LOG_SERVICE1::LogSvcIFImpl service_;
};

}  // namespace NS_TEST
