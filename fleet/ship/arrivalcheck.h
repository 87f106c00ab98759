// Which log files need not stay on their host.
#pragma once

#include <memory>
#include <string>

#include "ship/target.h"

namespace NS_LOG_FLEET {

// Asks the target to which the host's shipper sends, and tells it nothing. A compressed file is the
// one that it was made of.
//
// Thread safety: none.
class ArrivalCheck {
  public:
    ArrivalCheck(std::string host, std::unique_ptr<Target> target);

    // Why the file must stay. Empty: all that it holds has arrived, and the target knows that
    // nothing more comes. Nobody may be writing the file. Throws TargetError and ReadError.
    std::string WhyItStays(const std::string& path);

  private:
    const std::string host_;
    const std::unique_ptr<Target> target_;
};

}  // namespace NS_LOG_FLEET
