// The control bundle's listening socket.
#include "control/listeningsocket.h"

#include <sys/stat.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "control/socketaddress.h"

namespace NS_REFERENCE_HOST {

namespace {

constexpr mode_t kMode = 0600;
constexpr int kBacklog = 64;

[[noreturn]] void FailWithErrno(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

FileDescriptor MakeSocket() {
    FileDescriptor made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!made.IsOpen()) {
        FailWithErrno("socket");
    }
    return made;
}

}  // namespace

ListeningSocket::ListeningSocket(const std::string& path) : path_(path), socket_(MakeSocket()) {
    RemoveLeftover();
    Bind();
}

ListeningSocket::~ListeningSocket() {
    struct stat found {};
    if (lstat(path_.c_str(), &found) == 0 && found.st_dev == device_ && found.st_ino == inode_) {
        unlink(path_.c_str());
    }
}

void ListeningSocket::RemoveLeftover() const {
    struct stat found {};
    if (lstat(path_.c_str(), &found) != 0) {
        if (errno == ENOENT) {
            return;
        }
        FailWithErrno(path_);
    }
    if (!S_ISSOCK(found.st_mode)) {
        throw std::runtime_error(path_ + " is there already and is no socket");
    }
    const SocketAddress address(path_);
    const FileDescriptor probe = MakeSocket();
    if (connect(probe.Get(), address.Get(), address.Size()) == 0 || errno == EAGAIN) {
        throw std::runtime_error("another agent serves " + path_);
    }
    if (errno != ECONNREFUSED) {
        FailWithErrno(path_);
    }
    if (unlink(path_.c_str()) != 0) {
        FailWithErrno(path_);
    }
}

// bind gives the file the mode of the descriptor, less the process's creation mask, so other users
// can never connect. Setting the mask would affect threads that create files. The mask may have
// removed permissions of the owner, so the second step sets the mode.
void ListeningSocket::Bind() {
    const SocketAddress address(path_);
    struct stat made {};
    if (fchmod(socket_.Get(), kMode) != 0 ||
        bind(socket_.Get(), address.Get(), address.Size()) != 0 ||
        lstat(path_.c_str(), &made) != 0) {
        FailWithErrno(path_);
    }
    device_ = made.st_dev;
    inode_ = made.st_ino;
    if (chmod(path_.c_str(), kMode) != 0 || listen(socket_.Get(), kBacklog) != 0) {
        const int error = errno;
        unlink(path_.c_str());
        throw std::system_error(error, std::generic_category(), path_);
    }
}

}  // namespace NS_REFERENCE_HOST
