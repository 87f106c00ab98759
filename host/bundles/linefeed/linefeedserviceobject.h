// The service object of the line-feed bundle.
#pragma once

#include <memory>

#include "common/workingserviceobject.h"

namespace NS_REFERENCE_HOST {

// Arguments of `init`: `--category NAME` (corbaoper) and `--level N` (1; from -2 to 3).
//
// Thread safety: the manager's thread only.
class LineFeedServiceObject : public WorkingServiceObject {
  public:
    LineFeedServiceObject();

  protected:
    std::unique_ptr<Work> PrepareWork(int argc, char* argv[]) override;
};

}  // namespace NS_REFERENCE_HOST
