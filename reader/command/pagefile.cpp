#include "command/pagefile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "format/framing.h"
#include "input/bytesource.h"
#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

namespace fs = std::filesystem;

bool IsSameFile(const std::string& a, const std::string& b) {
    std::error_code ignored;
    return fs::equivalent(a, b, ignored);
}

// Also under another name, as logrotate gives it one.
bool HoldsLog(const std::string& path) {
    char bytes[kFileCreated.size()];
    std::error_code none;
    try {
        return fs::is_regular_file(path, none) &&
               std::string_view(bytes, OpenFile(path)->Read(bytes, sizeof bytes)) == kFileCreated;
    } catch (const ReadError&) {
        return false;
    }
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
    if (HoldsLog(path)) {
        throw BadRequest(path + ": this is a log file, and would be replaced by a page");
    }
}

// A file that the program has open, as /dev/stdout. It is written where its next byte belongs.
FileDescriptor OpenOwn(const fs::path& link) {
    const auto number = static_cast<int>(std::strtol(link.filename().c_str(), nullptr, 10));
    return FileDescriptor(::fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

bool IsOwn(const fs::path& link) {
    return IsSameFile(link.parent_path(), "/proc/self/fd");
}

// What a link leads to is written, and the link stays; also where nothing is there yet. Stops at a
// file that the program has open. REQUIRES: the system follows the links.
std::string FindTarget(const std::string& path) {
    fs::path target = path;
    std::error_code none;
    while (fs::is_symlink(fs::symlink_status(target, none)) && !IsOwn(target)) {
        target = target.parent_path() / fs::read_symlink(target);
    }
    return target.string();
}

}  // namespace

PageFile::PageFile(const std::string& path, const std::vector<std::string>& paths,
                   const std::vector<Series>& series)
    : path_(path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::none) {
        throw BadRequest(path + ": " + error.message());
    }
    path_ = FindTarget(path);
    RefuseLogFile(path_, paths, series);
    if (IsOwn(path_)) {
        special_ = OpenOwn(path_);
    } else if (!fs::exists(status) || fs::is_regular_file(status)) {
        unfinished_ = std::make_unique<UnfinishedFile>(path_);
    } else {
        special_ = FileDescriptor(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    }
    if (Descriptor() < 0) {
        throw BadRequest(path + ": " + std::strerror(errno));
    }
}

void PageFile::Finish() {
    if (unfinished_) {
        unfinished_->Finish();
    }
}

}  // namespace NS_LOG_READER
