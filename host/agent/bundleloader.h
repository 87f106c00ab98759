// The bundles of the process: loads them in order and stops them in reverse.
#pragma once

#include <functional>
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

    // Loads and starts one more bundle. Throws AgentError; earlier bundles stay.
    void Load(const BundleEntry& entry);

    // In the order of loading.
    const std::vector<std::unique_ptr<Bundle>>& Bundles() const { return bundles_; }

    // In reverse order: stops all bundles, then finishes and frees each one, after a call of
    // `beforeEach`, then unloads the libraries. All service objects are freed before the first
    // library is unloaded, since one may call another. Returns false when a bundle reported a
    // failure, or `beforeEach` threw; both are reported on standard error. No bundle is left, also
    // after a failure.
    bool StopAll(const std::function<void()>& beforeEach);

  private:
    std::vector<std::unique_ptr<Bundle>> bundles_;
};

}  // namespace NS_REFERENCE_HOST
