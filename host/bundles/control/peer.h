// The user at the other end of a control connection.
#pragma once

#include <sys/types.h>

namespace NS_REFERENCE_HOST {

// Returns whether a process of user `peer` may control one of user `own`: the same user and root
// may.
constexpr bool IsPermittedPeer(uid_t peer, uid_t own) {
    return peer == own || peer == 0;
}

// Returns the user who connected the socket, from the system. Throws std::system_error.
uid_t GetPeer(int socket);

}  // namespace NS_REFERENCE_HOST
