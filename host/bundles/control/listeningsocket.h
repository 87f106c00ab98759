// The socket at which the control bundle waits for its clients.
#pragma once

#include <sys/types.h>

#include <string>

#include "control/filedescriptor.h"

namespace NS_REFERENCE_HOST {

// Exists in the file system, with mode 0600, from its construction to its destruction.
//
// Thread safety: one thread.
class ListeningSocket {
  public:
    // Makes the socket at `path`. The socket that a dead agent has left there is replaced. Throws
    // std::runtime_error, with a text for the operator, when a living agent has its socket there,
    // when the path belongs to something else, or when the system refuses.
    explicit ListeningSocket(const std::string& path);

    // Removes the socket from the file system, unless another has taken its place.
    ~ListeningSocket();

    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

    // Non-blocking; polls as readable while a client waits.
    int Descriptor() const noexcept { return socket_.Get(); }

  private:
    void RemoveLeftover() const;
    void Bind();

    const std::string path_;
    FileDescriptor socket_;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

}  // namespace NS_REFERENCE_HOST
