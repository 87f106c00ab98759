#include "ship/filefinder.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

#include "format/utf8.h"
#include "input/bytesource.h"
#include "input/series.h"

namespace NS_LOG_FLEET {
namespace {

namespace fs = std::filesystem;

using NS_LOG_READER::ReadError;

bool IsLogFile(const std::string& path) {
    constexpr std::string_view ending = ".log";
    return path.size() > ending.size() &&
           path.compare(path.size() - ending.size(), ending.size(), ending) == 0 &&
           NS_LOG_READER::ParseLogFileName(path).has_value();
}

bool IsCompressedLogFile(const std::string& path) {
    return NS_LOG_READER::IsCompressedName(path) &&
           NS_LOG_READER::ParseLogFileName(path).has_value();
}

bool HasDirectory(const std::string& path) {
    const fs::path directory = fs::path(path).parent_path();
    std::error_code error;
    return fs::is_directory(directory.empty() ? "." : directory, error);
}

// Targets take names of characters only.
bool IsText(std::string_view name) {
    while (!name.empty()) {
        const size_t length = NS_LOG_READER::CharacterLength(name);
        if (length == 0) {
            return false;
        }
        name.remove_prefix(length);
    }
    return true;
}

bool IsSameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool IsUnchanged(const struct stat& a, const struct stat& b) {
    return IsSameFile(a, b) && a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
           a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

// Whether the file is the one that the path leads to, and needs no new look. An idle file that was
// needed again and could not be opened does.
bool IsKnown(const HostFile& file, const std::string& path) {
    struct stat status {};
    if (file.path != path || ::stat(path.c_str(), &status) != 0) {
        return false;
    }
    return file.file ? file.file->IsFile(status)
                     : file.failure.empty() && IsUnchanged(file.status, status);
}

// What cannot be looked at may be there.
bool IsRemoved(const HostFile& file) {
    struct stat status {};
    if (::stat(file.path.c_str(), &status) != 0) {
        return errno == ENOENT;
    }
    return file.file ? !file.file->IsFile(status) : !IsSameFile(file.status, status);
}

}  // namespace

std::vector<std::string> FileFinder::Find(std::vector<HostFile>& files) {
    const std::map<std::string, std::string> before = std::exchange(problems_, {});
    hasSearchedAll_ = true;
    for (const std::string& path : paths_) {
        LookAt(path, files);
    }
    isFirstTime_ = false;
    tries_ = problems_.empty() ? 0 : std::min(tries_ + 1, kMostTries);
    std::vector<std::string> texts;
    for (const auto& [path, text] : problems_) {
        const auto known = before.find(path);
        if (known == before.end() || known->second != text) {
            texts.push_back(text);
        }
    }
    return texts;
}

void FileFinder::LookAt(const std::string& path, std::vector<HostFile>& files) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status)) {
        SearchDirectory(path, files);
        return;
    }
    const bool isLogFile = IsLogFile(path);
    // A log file may have been removed, if its directory is there.
    hasSearchedAll_ = hasSearchedAll_ && (isLogFile ? HasDirectory(path) : fs::exists(status));
    if (isLogFile && (!isFirstTime_ || fs::exists(status))) {
        Add(path, files);
    } else if (!fs::exists(status)) {
        problems_[path] = path + ": " + (error ? error.message() : "no such file or directory");
    } else {
        problems_[path] = path + (IsCompressedLogFile(path) ? ": compressed files are not sent"
                                                            : ": that is no log file's name");
    }
}

void FileFinder::SearchDirectory(const std::string& path, std::vector<HostFile>& files) {
    std::error_code error;
    for (fs::directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error)) {
        Add(entry->path().string(), files);
    }
    if (error) {
        hasSearchedAll_ = false;
        problems_[path] = path + ": " + error.message();
    }
}

void FileFinder::Add(const std::string& path, std::vector<HostFile>& files) {
    if (!IsLogFile(path)) {
        return;
    }
    if (!IsText(path.substr(path.rfind('/') + 1))) {
        problems_[path] = path + ": its name is no UTF-8, so it is not sent";
        return;
    }
    if (std::any_of(files.begin(), files.end(),
                    [&](const HostFile& file) { return IsKnown(file, path); })) {
        return;
    }
    try {
        auto opened = std::make_unique<ShippedFile>(path);
        // Another file that has its path now is left to TakeRemoved.
        const auto idle = std::find_if(files.begin(), files.end(), [&](const HostFile& file) {
            return !file.file && file.path == path && IsSameFile(file.status, opened->Status());
        });
        if (idle != files.end() && idle->GoOnWith(opened)) {
            return;
        }
        if (idle != files.end()) {
            files.erase(idle);
        }
        HostFile file;
        file.path = path;
        file.file = std::move(opened);
        files.push_back(std::move(file));
    } catch (const ReadError& error) {
        // It may have been removed since the directory was read.
        std::error_code ignored;
        if (fs::status(path, ignored).type() != fs::file_type::not_found) {
            problems_[path] = error.what();
        }
    }
}

bool FileFinder::MayHide(const std::string& name) const {
    return !hasSearchedAll_ ||
           std::any_of(problems_.begin(), problems_.end(), [&](const auto& problem) {
               return fs::path(problem.first).filename() == name;
           });
}

std::vector<HostFile> FileFinder::TakeRemoved(std::vector<HostFile>& files) {
    const auto removed =
        std::stable_partition(files.begin(), files.end(), [](const HostFile& file) {
            const bool isRead = file.file != nullptr && file.failures < kMostTries;
            return isRead || !IsRemoved(file);
        });
    std::vector<HostFile> taken(std::make_move_iterator(removed),
                                std::make_move_iterator(files.end()));
    files.erase(removed, files.end());
    return taken;
}

}  // namespace NS_LOG_FLEET
