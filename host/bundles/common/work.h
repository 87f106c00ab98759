// A piece of work that a bundle does on a thread of its own.
#pragma once

#include "common/eventdescriptor.h"

namespace NS_REFERENCE_HOST {

class Work {
  public:
    virtual ~Work() = default;

    // Does the work on the calling thread and returns whether all of it succeeded. Returns early,
    // and soon, once `stop` is signalled; that is no failure. Called once.
    virtual bool Run(const EventDescriptor& stop) = 0;
};

}  // namespace NS_REFERENCE_HOST
