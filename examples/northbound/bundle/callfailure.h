// What a client learns of an operation that failed.
#pragma once

#include "bundle/operationlog.h"

namespace NS_NORTHBOUND {

// Logs the exception that is being handled and throws what the interface declares for it. A
// std::exception that left the servant would reach the client as CORBA::UNKNOWN, without a reason.
// REQUIRES: called in a catch block.
[[noreturn]] void ThrowToClient(OperationLog& log);

}  // namespace NS_NORTHBOUND
