// The identifier of an operation, under which its records are found.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace NS_NORTHBOUND {

// The call with the number `call` of the session `session`. Session 0 is everything that belongs to
// no session: logging in, and calls of sessions that do not exist.
inline std::string OperationIdentifier(uint32_t session, uint64_t call) {
    char identifier[40];
    std::snprintf(identifier, sizeof(identifier), "%08x-0000-4000-8000-%012llx", session,
                  static_cast<unsigned long long>(call));
    return identifier;
}

}  // namespace NS_NORTHBOUND
