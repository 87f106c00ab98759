// The interface of a bundle with work that ends, for the agent program.
#pragma once

#include "bundlemgr/serviceinterface.h"

namespace NS_REFERENCE_HOST {

// A bundle that has work offers this as the interface object of its service object (the one that
// GetInterface returns). It starts the work in `init`; its StopService ends the work early, and
// does not return before it has ended. A bundle that only serves others offers something else.
//
// The agent polls the descriptors of all such bundles at once. So it needs no thread for each
// bundle and does not poll in intervals.
//
// Thread safety: any thread may call any operation.
class WorkingBundle : public NS_BUNDLEMGR1::ServiceInterface {
  public:
    // A file descriptor that polls as readable once the work has ended, for whatever reason; the
    // same one at each call. The bundle owns it: poll it, but never read or close it. An exception
    // means that the work has failed.
    virtual int DoneDescriptor() const = 0;

    // Returns whether the work succeeded. Work that StopService has ended early has, unless
    // something failed. An exception means that it has not. REQUIRES: the descriptor is readable.
    virtual bool HasSucceeded() const = 0;
};

}  // namespace NS_REFERENCE_HOST
