#include "command/pagefile.h"

#include <fcntl.h>

#include <cerrno>
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
    if (isReplaced) {
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
