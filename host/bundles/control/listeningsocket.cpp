// The socket at which the control bundle waits for its clients.
#include "control/listeningsocket.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "bundlemgr/logsupport.h"
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

// Of two agents that start in the same directory at once, one gets this and the other fails:
// otherwise each could take the other's new socket for a dead one's.
FileDescriptor LockDirectory(const std::string& directory) {
    FileDescriptor lock(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!lock.IsOpen()) {
        FailWithErrno(directory);
    }
    if (flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) {
        FailWithErrno(directory + " is locked, perhaps by an agent that is starting there");
    }
    return lock;
}

}  // namespace

ListeningSocket::ListeningSocket(const std::string& path) : path_(path), socket_(MakeSocket()) {
    const FileDescriptor lock = LockDirectory(NS_BUNDLEMGR1::GetParentPath(path_));
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

// The file gets the mode that its descriptor has at the bind, less the process's mask; so at no
// time may others connect. Setting the mask would get in the way of the threads that make files.
// The mask in force may have taken bits away from the owner, hence the second step.
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
