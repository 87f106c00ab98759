// Waits for the bundles that have work to do.
#pragma once

#include <poll.h>

#include <functional>
#include <string>
#include <vector>

#include "qv_host/workingbundle.h"

namespace NS_REFERENCE_HOST {

// Waiting needs no memory: an agent goes on when there is none for a while.
//
// Thread safety: one thread.
class WorkWatch {
  public:
    // `stop` polls as readable when waiting is to end.
    explicit WorkWatch(int stop);

    // `work` must live as long as the watch. Throws what it throws.
    void Add(const std::string& bundle, const WorkingBundle& work);

    // Tells on standard error that a bundle failed in its work. A `reason` may be null.
    void NoteFailure(const std::string& bundle, const char* reason);

    // Has `react` called while the watch waits, whenever `descriptor` is readable. `react` has to
    // make it unreadable.
    void ReactTo(int descriptor, std::function<void()> react);

    // Whether there is work that has not ended yet.
    bool IsPending() const { return !pending_.empty(); }

    // Whether a piece of work ended with a failure, or threw when it was asked.
    bool HasFailed() const { return failed_; }

    // Waits until all work has ended; returns false when `stop` came first.
    bool WaitForWork();

    // Takes in how the pending work has ended that is no longer going on; does not wait. An order
    // to stop is obeyed before the work is looked at, so the work may have ended before or since.
    void TakeOutEnded();

    // Waits for `stop` alone. REQUIRES: no work is pending.
    void WaitForStop();

  private:
    struct Entry {
        std::string bundle;
        const WorkingBundle* work;
        int descriptor;
    };

    struct Reaction {
        int descriptor;
        std::function<void()> react;
    };

    // Waits until `stop` or work is ready, and calls reactions meanwhile. Returns false when `stop`
    // came; otherwise the descriptors of the work that is ready are in `ready_`.
    bool WaitForEvents();

    // Puts the descriptors of the work that the last poll found ready into `ready_`.
    void ListReady();

    void Reserve();
    void ListEntries();
    void TakeOutReady();
    void AskForSuccess(const Entry& entry);

    const int stop_;
    std::vector<Reaction> reactions_;
    std::vector<Entry> pending_;
    std::vector<pollfd> entries_;  // `stop`, the reactions' and the pending work's, in this order
    std::vector<int> ready_;
    bool failed_ = false;
};

}  // namespace NS_REFERENCE_HOST
