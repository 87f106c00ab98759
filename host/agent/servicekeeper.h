// Looks after the logging service while the agent runs.
#pragma once

#include "agent/channelwatch.h"
#include "qv_base_log/logmaintenanceinterface.h"

namespace NS_REFERENCE_HOST {

// Looks the service up by name for each operation, and does nothing while there is none, or one
// that is too old.
//
// Thread safety: the thread that loads and stops the bundles, so that the service does not go
// meanwhile.
class ServiceKeeper {
  public:
    explicit ServiceKeeper(NS_LOG_SERVICE1::LogFilePolicy policy);

    // Gives the service the policy. Call it after the start of each bundle, before the next one can
    // log. Throws AgentError when the policy is not the service's own and the service is too old.
    void SetPolicy() const;

    // Tells through the log proxy what the channels' books say.
    void Look();

    // Has the service open all log files again.
    static void Reopen();

    // Writes out what is queued and looks once more. Call it before each bundle's end: what cannot
    // be written then has to be known too.
    void FinishOutput();

    // Whether a record has been lost, as far as the looks could tell.
    bool HasLost() const { return watch_.HasLost(); }

  private:
    const NS_LOG_SERVICE1::LogFilePolicy policy_;
    ChannelWatch watch_;
};

}  // namespace NS_REFERENCE_HOST
