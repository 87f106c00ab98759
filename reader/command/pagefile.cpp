#include "command/pagefile.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

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

}  // namespace

PageFile::PageFile(const std::string& path, const std::vector<std::string>& paths,
                   const std::vector<Series>& series)
    : path_(path) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path_, ignored);
    if (!fs::exists(status) || fs::is_regular_file(status)) {
        // What a link leads to is written, and the link stays.
        const fs::path real = fs::canonical(path_, ignored);
        path_ = real.empty() ? path_ : real.string();
        unfinished_ = path_ + ".unfinished";
    }
    for (const std::string& replaced : {path_, unfinished_}) {
        RefuseLogFile(replaced, paths, series);
    }
    const std::string& written = unfinished_.empty() ? path_ : unfinished_;
    descriptor_ =
        FileDescriptor(::open(written.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!descriptor_.IsOpen()) {
        const int reason = errno;
        unfinished_.clear();
        throw BadRequest(path + ": " + std::strerror(reason));
    }
}

PageFile::~PageFile() {
    if (!unfinished_.empty()) {
        std::error_code ignored;
        fs::remove(unfinished_, ignored);
    }
}

void PageFile::Finish() {
    if (!unfinished_.empty()) {
        fs::rename(unfinished_, path_);
        unfinished_.clear();
    }
}

}  // namespace NS_LOG_READER
