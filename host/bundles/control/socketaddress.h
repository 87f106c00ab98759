// The address of a Unix-domain socket, however long its path is.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <string>

#include "control/filedescriptor.h"

namespace NS_REFERENCE_HOST {

// Replaces a path that is too long for a socket address by one through an open descriptor of its
// directory, below /proc/self/fd. The address is valid as long as the object lives.
//
// Thread safety: immutable.
class SocketAddress {
  public:
    // Throws std::system_error when the directory of a long path cannot be opened, or when the
    // name in it alone is too long.
    explicit SocketAddress(const std::string& path);

    const sockaddr* Get() const noexcept { return reinterpret_cast<const sockaddr*>(&address_); }
    socklen_t Size() const noexcept { return sizeof(address_); }

  private:
    FileDescriptor directory_;
    sockaddr_un address_{};
};

}  // namespace NS_REFERENCE_HOST
