// Keeps a second agent out of a share directory.
#include "agent/directorylock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "agent/agenterror.h"

namespace NS_REFERENCE_HOST {

namespace {

constexpr char kFileName[] = "qv_agent.lock";
constexpr mode_t kMode = 0600;

std::string ReadHolder(int descriptor) {
    char text[32];
    const ssize_t length = pread(descriptor, text, sizeof(text), 0);
    std::string number;
    for (ssize_t index = 0; index < length && text[index] >= '0' && text[index] <= '9'; ++index) {
        number += text[index];
    }
    return number.empty() ? number : ", process " + number;
}

// Whether the system lacks something, whoever serves the directory.
bool IsShortage(int error) {
    for (const int shortage : {ENOSPC, EDQUOT, EMFILE, ENFILE, ENOMEM, ENOLCK, EIO}) {
        if (error == shortage) {
            return true;
        }
    }
    return false;
}

bool Exists(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

}  // namespace

DirectoryLock::DirectoryLock(const std::string& directory)
    : path_(directory + "/" + kFileName), process_(getpid()) {
    // Somebody may remove the file between its opening and its locking.
    while (Open()) {
        Take();
        if (IsInPlace()) {
            NoteProcess();
            return;
        }
        close(descriptor_);
    }
}

DirectoryLock::~DirectoryLock() {
    if (descriptor_ < 0) {
        return;
    }
    // Closing is not enough while a forked child has the same open file.
    if (getpid() == process_) {
        flock(descriptor_, LOCK_UN);
    }
    close(descriptor_);
}

void DirectoryLock::FailFor(int error) const {
    const ExitCode code = IsShortage(error) ? ExitCode::WorkFailed : ExitCode::AlreadyServed;
    throw AgentError(code, "the lock file " + path_ +
                               " cannot be used: " + std::generic_category().message(error));
}

// Returns false when there is no file and none can be made.
bool DirectoryLock::Open() {
    // Non-blocking, so that a pipe of that name does not block the process.
    constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
    descriptor_ = open(path_.c_str(), kFlags, kMode);
    if (descriptor_ >= 0) {
        return true;
    }
    const int error = errno;
    if (Exists(path_) || (error != EROFS && error != EACCES)) {
        FailFor(error);
    }
    std::fprintf(stderr, "qv_agent: no lock file %s: %s; a second agent would not be noticed\n",
                 path_.c_str(), std::generic_category().message(error).c_str());
    return false;
}

void DirectoryLock::Take() {
    if (flock(descriptor_, LOCK_EX | LOCK_NB) == 0) {
        return;
    }
    const int error = errno;
    const std::string holder = ReadHolder(descriptor_);
    close(descriptor_);
    if (error != EWOULDBLOCK) {
        FailFor(error);
    }
    throw AgentError(ExitCode::AlreadyServed,
                     "another agent serves this directory" + holder + " (" + path_ + " is locked)");
}

bool DirectoryLock::IsInPlace() const {
    struct stat held {};
    struct stat found {};
    return fstat(descriptor_, &held) == 0 && lstat(path_.c_str(), &found) == 0 &&
           held.st_dev == found.st_dev && held.st_ino == found.st_ino;
}

// The creation mask may have taken permissions from the owner, and somebody may have added some. On
// a full disk the number is missing, and the lock holds all the same.
void DirectoryLock::NoteProcess() const {
    const std::string number = std::to_string(getpid()) + "\n";
    static_cast<void>(!fchmod(descriptor_, kMode));
    static_cast<void>(!ftruncate(descriptor_, 0));
    static_cast<void>(!pwrite(descriptor_, number.data(), number.size(), 0));
}

}  // namespace NS_REFERENCE_HOST
