// The bundles of the process: loads them in order and stops them in reverse.
#pragma once

#include <memory>
#include <vector>

#include "agent/bundle.h"

namespace NS_REFERENCE_HOST {

// Thread safety: one thread.
class BundleLoader {
  public:
    BundleLoader() = default;
    ~BundleLoader();

    BundleLoader(const BundleLoader&) = delete;
    BundleLoader& operator=(const BundleLoader&) = delete;

    // Loads and starts one more bundle. Throws AgentError; those before it stay.
    void Load(const BundleEntry& entry);

    // In the order of loading.
    const std::vector<std::unique_ptr<Bundle>>& Bundles() const { return bundles_; }

    // The last loaded first: ends what each bundle runs in the background, then finishes and frees
    // each one, then unloads the libraries. No library goes while a service object is left, since
    // any of them may still call into another. False when a bundle reported a failure.
    bool StopAll();

  private:
    std::vector<std::unique_ptr<Bundle>> bundles_;
};

}  // namespace NS_REFERENCE_HOST
