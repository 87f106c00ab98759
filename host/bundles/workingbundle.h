// What a bundle offers to the agent program when it has a piece of work to do that ends.
#pragma once

#include "bundlemgr/serviceinterface.h"

namespace NS_REFERENCE_HOST {

// A bundle that has work offers this as the interface object of its service object (the one that
// GetInterface returns). It starts the work in `init`; its StopService ends the work early, and
// does not return before it has ended. A bundle that only serves others offers something else.
//
// The agent waits for the descriptors of all such bundles at once, so it needs neither a thread
// for each nor to look again and again.
//
// Thread safety: any thread may call any operation.
class WorkingBundle : public NS_BUNDLEMGR1::ServiceInterface {
  public:
    // A file descriptor that polls as readable from the moment the work has ended, for whatever
    // reason. It stays with the bundle: poll it, never read or close it.
    virtual int DoneDescriptor() const = 0;

    // Whether the work was done without a failure. Of meaning once the descriptor is readable.
    virtual bool HasSucceeded() const = 0;
};

}  // namespace NS_REFERENCE_HOST
