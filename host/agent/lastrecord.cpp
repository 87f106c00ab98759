// Finds the last record of a log file.
#include "agent/lastrecord.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>

namespace NS_REFERENCE_HOST {

namespace {

constexpr std::uint64_t kLongestRecord = 256ULL * 1024 * 1024;
constexpr std::size_t kShownBegin = 800;
constexpr std::size_t kShownEnd = 200;

// The end of a file, mapped for reading.
//
// Thread safety: const operations by any thread.
class FileEnd {
  public:
    explicit FileEnd(const std::string& path) {
        const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status {};
        if (descriptor < 0 || fstat(descriptor, &status) != 0) {
            Fail(path, descriptor);
        }
        const auto fileSize = static_cast<std::uint64_t>(status.st_size);
        // The mapping begins at a page boundary.
        const std::uint64_t offset = (fileSize - std::min(fileSize, kLongestRecord)) & ~0xFFFFULL;
        size_ = static_cast<std::size_t>(fileSize - offset);
        if (size_ > 0) {
            address_ = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, descriptor,
                            static_cast<off_t>(offset));
            if (address_ == MAP_FAILED) {
                Fail(path, descriptor);
            }
        }
        close(descriptor);
    }

    ~FileEnd() {
        if (size_ > 0) {
            munmap(address_, size_);
        }
    }

    FileEnd(const FileEnd&) = delete;
    FileEnd& operator=(const FileEnd&) = delete;

    std::string_view Text() const { return {static_cast<const char*>(address_), size_}; }

  private:
    [[noreturn]] static void Fail(const std::string& path, int descriptor) {
        const int error = errno;
        if (descriptor >= 0) {
            close(descriptor);
        }
        throw std::system_error(error, std::generic_category(), path);
    }

    void* address_ = nullptr;
    std::size_t size_ = 0;
};

bool StartsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

bool EndsWith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

// Returns the last line, with its newline if it has one.
std::string_view LastLine(std::string_view text) {
    const std::string_view inner = text.substr(0, text.empty() ? 0 : text.size() - 1);
    const auto newline = inner.rfind('\n');
    return newline == std::string_view::npos ? text : text.substr(newline + 1);
}

// Returns the text without the closing line and the empty line before it.
std::string_view WithoutClosingLine(std::string_view text) {
    const std::string_view line = LastLine(text);
    if (!StartsWith(line, "File close at ")) {
        return text;
    }
    text.remove_suffix(line.size());
    if (!text.empty()) {
        text.remove_suffix(1);
    }
    return text;
}

// Returns the record with a number at both ends at the end of `text`; empty if there is none.
std::string_view NumberedRecord(std::string_view text) {
    const std::string_view kEnd = ">\n\n";
    if (!EndsWith(text, kEnd)) {
        return {};
    }
    const std::string_view closing = LastLine(text.substr(0, text.size() - 1));
    if (!StartsWith(closing, "</")) {
        return {};
    }
    const std::string opening = "<" + std::string(closing.substr(2));
    for (auto found = text.rfind(opening); found != std::string_view::npos && found > 0;
         found = text.rfind(opening, found - 1)) {
        if (text[found - 1] == '\n') {
            return text.substr(found, text.size() - found - 1);
        }
    }
    return {};
}

}  // namespace

LastRecord FindLastRecord(const std::string& path) {
    const FileEnd file(path);
    const std::string_view text = WithoutClosingLine(file.Text());
    std::string_view record = NumberedRecord(text);
    if (record.empty()) {
        record = LastLine(text);
    }
    if (StartsWith(record, "File create at ")) {
        record = {};
    }
    LastRecord result;
    if (record.size() <= kShownBegin + kShownEnd) {
        result.begin = record;
        return result;
    }
    result.begin = record.substr(0, kShownBegin);
    result.end = record.substr(record.size() - kShownEnd);
    result.leftOut = record.size() - kShownBegin - kShownEnd;
    return result;
}

}  // namespace NS_REFERENCE_HOST
