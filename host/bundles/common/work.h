// The work of a bundle, done on its own thread.
#pragma once

#include "common/eventdescriptor.h"

namespace NS_REFERENCE_HOST {

class Work {
  public:
    virtual ~Work() = default;

    // Does the work on the calling thread and returns whether all of it succeeded. Returns soon
    // after `stop` is signalled, which is no failure. REQUIRES: called once.
    virtual bool Run(const EventDescriptor& stop) = 0;
};

}  // namespace NS_REFERENCE_HOST
