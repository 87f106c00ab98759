// Waits for the bundles that have work to do.
#pragma once

#include <string>
#include <vector>

#include "qv_host/workingbundle.h"

namespace NS_REFERENCE_HOST {

// Thread safety: one thread.
class WorkWatch {
  public:
    // `stop` polls as readable when waiting is to end.
    explicit WorkWatch(int stop);

    // `work` must live as long as the watch.
    void Add(const std::string& bundle, const WorkingBundle& work);

    // Whether there is work that has not ended yet.
    bool IsPending() const { return !pending_.empty(); }

    // Whether a piece of work ended with a failure.
    bool HasFailed() const { return failed_; }

    // Waits until all work has ended; returns false when `stop` came first.
    bool WaitForWork();

    // Waits for `stop` alone.
    void WaitForStop() const;

  private:
    struct Entry {
        std::string bundle;
        const WorkingBundle* work;
    };

    void TakeOutDone(const std::vector<int>& done);

    const int stop_;
    std::vector<Entry> pending_;
    bool failed_ = false;
};

}  // namespace NS_REFERENCE_HOST
