// The errors that end the control program.
#pragma once

#include <stdexcept>
#include <string>

#include "agentctl/exitcode.h"

namespace NS_REFERENCE_HOST {

// A message for the operator and the program's exit code.
class ControlError : public std::runtime_error {
  public:
    ControlError(ControlExit exitCode, const std::string& message)
        : std::runtime_error(message), exitCode_(exitCode) {}

    ControlExit Code() const noexcept { return exitCode_; }

  private:
    ControlExit exitCode_;
};

}  // namespace NS_REFERENCE_HOST
