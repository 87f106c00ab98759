// One run of the agent, from the loading of its bundles to their unloading.
#pragma once

#include "agent/agentoptions.h"
#include "agent/exitcode.h"
#include "agent/logfilesummary.h"
#include "agent/stopsignals.h"

namespace NS_REFERENCE_HOST {

// Thread safety: one thread, the first of the process. REQUIRES: no other thread runs when the
// object is made.
class Agent {
  public:
    explicit Agent(const AgentOptions& options);

    // Throws AgentError when it cannot start. The loaded bundles are stopped then.
    ExitCode Run();

  private:
    // Runs until all work has ended or a signal arrives. Returns false when a client's work failed.
    bool Serve(const class BundleLoader& loader);

    // Returns the traffic to generate, or Auto when a signal arrived before that was known.
    Traffic ChooseTraffic() const;

    const AgentOptions options_;
    const StopSignals signals_;
    const LogFileSummary summary_;
};

}  // namespace NS_REFERENCE_HOST
