#include "command/pagefile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

namespace fs = std::filesystem;

bool IsSameFile(const std::string& a, const std::string& b) {
    std::error_code ignored;
    return fs::equivalent(a, b, ignored);
}

void RefuseLogFile(const std::string& path, const std::vector<std::string>& paths,
                   const std::vector<Series>& all) {
    if (ParseLogFileName(path)) {
        throw BadRequest(path + ": this is the name of a log file, and not of a page");
    }
    bool isRead = false;
    for (const std::string& read : paths) {
        isRead = isRead || IsSameFile(path, read);
    }
    for (const Series& series : all) {
        for (const LogFile& file : series.files) {
            isRead = isRead || IsSameFile(path, file.name.path);
        }
    }
    if (isRead) {
        throw BadRequest(path + ": the page is to be made of this file, and would replace it");
    }
}

// What a link leads to is written, and the link stays; also where nothing is there yet.
std::string FindTarget(const std::string& path) {
    constexpr int mostLinks = 40;
    fs::path target = path;
    std::error_code none;
    for (int links = 0; fs::is_symlink(fs::symlink_status(target, none)); ++links) {
        if (links == mostLinks) {
            throw BadRequest(path + ": " + std::strerror(ELOOP));
        }
        target = target.parent_path() / fs::read_symlink(target);
    }
    return target.string();
}

// Nobody may read the page who could not read the one that it replaces.
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
std::atomic<const char*> unfinishedPage = "";

void RemoveAndEnd(int signal) {
    ::unlink(unfinishedPage);
    ::signal(signal, SIG_DFL);
    ::raise(signal);
}

// What is ignored stays so.
void RemoveWhenInterrupted() {
    for (const int interrupt : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        if (::signal(interrupt, &RemoveAndEnd) == SIG_IGN) {
            ::signal(interrupt, SIG_IGN);
        }
    }
}

}  // namespace

PageFile::PageFile(const std::string& path, const std::vector<std::string>& paths,
                   const std::vector<Series>& series)
    : path_(path) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    const bool isReplaced = !fs::exists(status) || fs::is_regular_file(status);
    if (isReplaced) {
        path_ = FindTarget(path);
    }
    RefuseLogFile(path_, paths, series);
    descriptor_ =
        isReplaced ? MakeUnfinished() : FileDescriptor(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (!descriptor_.IsOpen()) {
        const int reason = errno;
        unfinishedPage = "";
        throw BadRequest(path + ": " + std::strerror(reason));
    }
}

// With a name of its own: others may be made beside it.
FileDescriptor PageFile::MakeUnfinished() {
    unfinished_ = path_ + ".unfinished-XXXXXX";
    unfinishedPage = unfinished_.c_str();
    RemoveWhenInterrupted();
    return FileDescriptor(::mkostemp(unfinished_.data(), O_CLOEXEC));
}

PageFile::~PageFile() {
    if (!unfinished_.empty()) {
        std::error_code ignored;
        fs::remove(unfinished_, ignored);
    }
    unfinishedPage = "";
}

void PageFile::Finish() {
    if (!unfinished_.empty()) {
        TakeOverRights(descriptor_.Get(), path_);
        fs::rename(unfinished_, path_);
        unfinished_.clear();
    }
}

}  // namespace NS_LOG_READER
