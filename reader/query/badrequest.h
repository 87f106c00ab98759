// The error of a command line that cannot be carried out.
#pragma once

#include <stdexcept>

namespace NS_LOG_READER {

// What was asked for makes no sense; the text says why.
class BadRequest : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace NS_LOG_READER
