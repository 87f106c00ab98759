// The bundles of the process: loads them in order and ends them in reverse.
#pragma once

#include <cstddef>
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

    // Stops all bundles, last first. Their objects stay.
    void StopServices();

    // Finishes and frees each bundle, last first, after a call of `beforeEach`, then unloads the
    // libraries. All service objects are freed before the first library is unloaded, since one may
    // call another. No bundle is left in the list, also after a failure.
    //
    // A bundle that could not be stopped has a thread that goes on. Neither this bundle is
    // finished, freed or unloaded, nor are those in front of it, which the thread may use; the
    // process must end soon.
    //
    // Returns false when a bundle reported a failure, in StopServices as well, or `beforeEach`
    // threw; both are reported on standard error. REQUIRES: StopServices was called.
    bool FinishAll(const std::function<void()>& beforeEach);

  private:
    std::vector<std::unique_ptr<Bundle>> bundles_;
    size_t notStopped_ = 0;  // so many of the first ones StopServices has not called yet
    size_t inUse_ = 0;       // so many of the first ones a thread may use that goes on
};

}  // namespace NS_REFERENCE_HOST
