// Why an operation fails, in the terms of the network. What else fails is a std::runtime_error.
#pragma once

#include <stdexcept>

namespace NS_NORTHBOUND {

// A wrong name, password or session.
class AccessError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// There is no such element or alarm.
class UnknownObjectError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace NS_NORTHBOUND
