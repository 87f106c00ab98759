// One run of the agent, from the loading of its bundles to their end.
#pragma once

#include "agent/agentoptions.h"
#include "agent/exitcode.h"
#include "agent/logfilesummary.h"
#include "agent/stopsignals.h"

namespace NS_REFERENCE_HOST {

// Thread safety: one thread, the first of the process, and no other one before.
class Agent {
  public:
    explicit Agent(const AgentOptions& options);

    // Throws AgentError when it cannot start; the bundles it had loaded are stopped then.
    ExitCode Run();

  private:
    // Serves until there is no reason left to. Returns false when a client failed in its work.
    bool Serve(const class BundleLoader& loader);

    // What is to be done about traffic; Auto when a signal came while that was not clear yet.
    Traffic ChooseTraffic() const;

    const AgentOptions options_;
    const StopSignals signals_;
    const LogFileSummary summary_;
};

}  // namespace NS_REFERENCE_HOST
