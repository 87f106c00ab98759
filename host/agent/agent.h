// One run of the agent, from the loading of its bundles to their unloading.
#pragma once

#include <optional>
#include <string>

#include "agent/agentoptions.h"
#include "agent/agentsignals.h"
#include "agent/exitcode.h"

namespace NS_REFERENCE_HOST {

// Thread safety: one thread, the first of the process. REQUIRES: no other thread runs when the
// object is made.
class Agent {
  public:
    explicit Agent(const AgentOptions& options);

    // Throws AgentError when it cannot start. The loaded bundles are stopped then.
    ExitCode Run();

  private:
    // Prints what the configuration means.
    ExitCode CheckConfiguration() const;

    // Returns the traffic to generate, or nothing when a signal arrived before that was known.
    std::optional<Traffic> ChooseTraffic() const;

    // Loads, serves and stops the bundles. The configuration is read only now: it may have changed
    // while the input was waited for.
    ExitCode RunBundles(Traffic traffic) const;

    // Runs until all work has ended or a signal arrives, and stops the bundles. Returns false when
    // a client's work failed.
    bool Serve(class BundleLoader& loader, class ServiceKeeper& keeper) const;

    const AgentOptions options_;
    const std::string configuration_;  // the path of the file
    const AgentSignals signals_;
};

}  // namespace NS_REFERENCE_HOST
