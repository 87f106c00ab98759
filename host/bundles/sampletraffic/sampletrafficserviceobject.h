// The service object of the sample-traffic bundle.
#pragma once

#include <memory>

#include "common/workingserviceobject.h"

namespace NS_REFERENCE_HOST {

// Arguments of `init`: `--threads N` (4) and `--operations N`, for each thread (25).
//
// Thread safety: the manager's thread only.
class SampleTrafficServiceObject : public WorkingServiceObject {
  public:
    SampleTrafficServiceObject();

  protected:
    std::unique_ptr<Work> PrepareWork(int argc, char* argv[]) override;
};

}  // namespace NS_REFERENCE_HOST
