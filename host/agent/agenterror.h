// The errors that end the agent program.
#pragma once

#include <stdexcept>
#include <string>

#include "agent/exitcode.h"

namespace NS_REFERENCE_HOST {

// A message for the operator and the program's exit code.
class AgentError : public std::runtime_error {
  public:
    AgentError(ExitCode exitCode, const std::string& message)
        : std::runtime_error(message), exitCode_(exitCode) {}

    ExitCode Code() const noexcept { return exitCode_; }

  private:
    ExitCode exitCode_;
};

}  // namespace NS_REFERENCE_HOST
