// The control bundle's listening socket.
#pragma once

#include <sys/types.h>

#include <string>

#include "control/filedescriptor.h"

namespace NS_REFERENCE_HOST {

// The constructor creates it in the file system, with mode 0600, and the destructor removes it.
//
// Thread safety: one thread.
class ListeningSocket {
  public:
    // Makes the socket at `path` and replaces one that a dead agent has left there. Throws
    // std::runtime_error, with a text for the operator, when a running agent has its socket there,
    // when another kind of file is there, or when the system refuses. REQUIRES: no other agent does
    // the same in the directory at the same time; the agent program holds a lock against that.
    explicit ListeningSocket(const std::string& path);

    // Removes the socket from the file system, unless another one has replaced it.
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
