#include "command/unfinishedfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>

namespace NS_LOG_READER {
namespace {

// Nobody may read the file who could not read the one that it replaces.
void TakeOverRights(int descriptor, const std::string& replaced) {
    struct stat status {};
    if (::stat(replaced.c_str(), &status) != 0) {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        ::fchmod(descriptor, 0666 & ~mask);
        return;
    }
    mode_t mode = status.st_mode & 0777;
    const bool hasGroup = ::fchown(descriptor, status.st_uid, status.st_gid) == 0 ||
                          ::fchown(descriptor, static_cast<uid_t>(-1), status.st_gid) == 0;
    if (!hasGroup) {
        // Another group is no more than others are.
        mode = (mode & 0707) | (mode & 07) << 3;
    }
    ::fchmod(descriptor, mode);
}

// What an interrupt removes.
std::atomic<const char*> unfinishedName = "";

void RemoveAndEnd(int signal) {
    ::unlink(unfinishedName);
    ::signal(signal, SIG_DFL);
    ::raise(signal);
}

// What is ignored stays so.
void RemoveWhenInterrupted() {
    for (const int interrupt : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGXCPU, SIGXFSZ}) {
        if (::signal(interrupt, &RemoveAndEnd) == SIG_IGN) {
            ::signal(interrupt, SIG_IGN);
        }
    }
}

}  // namespace

UnfinishedFile::UnfinishedFile(const std::string& path)
    : path_(path), unfinished_(path + ".unfinished-XXXXXX") {
    unfinishedName = unfinished_.c_str();
    RemoveWhenInterrupted();
    descriptor_ = FileDescriptor(::mkostemp(unfinished_.data(), O_CLOEXEC));
    if (!descriptor_.IsOpen()) {
        unfinishedName = "";
    }
}

UnfinishedFile::~UnfinishedFile() {
    if (descriptor_.IsOpen() && !isFinished_) {
        ::unlink(unfinished_.c_str());
    }
    unfinishedName = "";
}

void UnfinishedFile::Finish() {
    TakeOverRights(descriptor_.Get(), path_);
    std::filesystem::rename(unfinished_, path_);
    isFinished_ = true;
}

}  // namespace NS_LOG_READER
