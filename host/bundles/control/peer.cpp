// The user at the other end of a control connection.
#include "control/peer.h"

#include <sys/socket.h>

#include <cerrno>
#include <system_error>

namespace NS_REFERENCE_HOST {

uid_t GetPeer(int socket) {
    ucred credentials{};
    socklen_t size = sizeof(credentials);
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
        throw std::system_error(errno, std::generic_category(), "SO_PEERCRED");
    }
    return credentials.uid;
}

}  // namespace NS_REFERENCE_HOST
