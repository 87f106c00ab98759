// The agent's configuration file: reading it and making items of its lines.
#include "configfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <ctime>
#include <system_error>
#include <thread>
#include <unordered_map>

#include "bundlemgr/processexception.h"
#include "util/selfutilcommon.h"

namespace NS_REFERENCE_HOST {

namespace {

// Thread safety: belongs to one thread.
class OpenFile {
  public:
    // Non-blocking, so that a pipe at the file's path does not block the process.
    explicit OpenFile(const std::string& path)
        : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~OpenFile() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int Descriptor() const { return descriptor_; }

  private:
    int descriptor_;
};

// Far more than an agent needs. What is larger was put there by mistake, and would fill the memory.
constexpr size_t kMaximumConfigText = size_t{16} * 1024 * 1024;

[[noreturn]] void ThrowUnreadable(const std::string& path, int error, const std::string& reason) {
    throw NS_BUNDLEMGR1::InterfaceNotExistException(static_cast<uint32_t>(error), "configfile",
                                                    "ReadConfigText",
                                                    "cannot read " + path + ": " + reason);
}

[[noreturn]] void ThrowUnreadable(const std::string& path, int error) {
    ThrowUnreadable(path, error, std::generic_category().message(error));
}

// Refuses what is no file: a pipe has no contents to come back to, and a device may have no end.
void RequireFile(const std::string& path, mode_t mode) {
    if (S_ISREG(mode)) {
        return;
    }
    if (S_ISDIR(mode)) {
        ThrowUnreadable(path, EISDIR);
    }
    const char* const kind = S_ISFIFO(mode) ? "pipe" : S_ISSOCK(mode) ? "socket" : "device";
    ThrowUnreadable(path, EINVAL, std::string("it is a ") + kind + ", not a file");
}

std::string ReadToEnd(const OpenFile& file, const std::string& path) {
    std::string text;
    char chunk[16384];
    for (;;) {
        const ssize_t length = read(file.Descriptor(), chunk, sizeof(chunk));
        if (length == 0) {
            return text;
        }
        if (length > 0) {
            text.append(chunk, static_cast<size_t>(length));
        } else if (errno != EINTR) {
            ThrowUnreadable(path, errno);
        }
        if (text.size() > kMaximumConfigText) {
            ThrowUnreadable(path, EFBIG,
                            "it is larger than " + std::to_string(kMaximumConfigText) + " bytes");
        }
    }
}

// The maximum lag of the system's file times behind its clock.
constexpr std::chrono::milliseconds kFileTimeLag{20};

constexpr int kReadingsOfAChangingFile = 5;

// Identifies one state of a file. All zero when there is no file.
struct FileState {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec changed{};

    bool operator==(const FileState& other) const {
        return device == other.device && inode == other.inode && size == other.size &&
               changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
    }
};

FileState StateOf(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) {
        return FileState();
    }
    return {status.st_dev, status.st_ino, status.st_size, status.st_mtim};
}

// Waits until `second` is over. Sleeps once and for a bounded time, because the clock may be set
// back.
void AwaitEndOfSecond(time_t second) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    constexpr auto kLag = std::chrono::duration_cast<std::chrono::nanoseconds>(kFileTimeLag);
    if (second == now.tv_sec || (second == now.tv_sec - 1 && now.tv_nsec < kLag.count())) {
        const std::chrono::seconds ahead(second + 1 - now.tv_sec);
        std::this_thread::sleep_for(ahead + kLag - std::chrono::nanoseconds(now.tv_nsec));
    }
}

// Collects items. A key that appears again replaces its value.
class ItemCollector {
  public:
    void Set(std::string name, std::string value) {
        const auto [place, isNew] = places_.emplace(name, items_.size());
        if (isNew) {
            items_.push_back({std::move(name), std::move(value)});
        } else {
            items_[place->second].value = std::move(value);
        }
    }

    std::vector<NS_BUNDLEMGR1::NameValueStru> Take() { return std::move(items_); }

  private:
    std::vector<NS_BUNDLEMGR1::NameValueStru> items_;
    std::unordered_map<std::string, size_t> places_;
};

// Of millions of broken lines the first ones tell what kind of file it is.
constexpr size_t kMostBrokenLines = 10;

// Adds what the line holds, if it holds anything.
void ParseLine(size_t number, const std::string& line, ConfigLines& lines) {
    const std::string text = NS_UTIL::Trim(line);
    if (text.empty() || text.front() == '#') {
        return;
    }
    const size_t equals = text.find('=');
    if (equals == std::string::npos) {
        lines.brokenLines.Add({number, "no '='"});
        return;
    }
    std::string name = NS_UTIL::Trim(text.substr(0, equals));
    if (name.empty()) {
        lines.brokenLines.Add({number, "no name in front of '='"});
        return;
    }
    lines.items.push_back({number, {std::move(name), NS_UTIL::Trim(text.substr(equals + 1))}});
}

}  // namespace

void BrokenLines::Add(const BrokenLine& line) {
    if (first.size() < kMostBrokenLines) {
        first.push_back(line);
    } else {
        ++more;
    }
}

std::string DescribeMore(const BrokenLines& lines) {
    return std::to_string(lines.more) +
           (lines.more == 1 ? " more line is skipped" : " more lines are skipped");
}

ConfigLines ParseConfigLines(const std::string& text) {
    static const std::string kByteOrderMark = "\xEF\xBB\xBF";
    ConfigLines lines;
    size_t begin =
        text.compare(0, kByteOrderMark.size(), kByteOrderMark) == 0 ? kByteOrderMark.size() : 0;
    for (size_t number = 1; begin < text.size(); ++number) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        ParseLine(number, text.substr(begin, end - begin), lines);
        begin = end + 1;
    }
    return lines;
}

ConfigText ParseConfigText(const std::string& text) {
    ConfigLines lines = ParseConfigLines(text);
    ItemCollector items;
    for (ConfigLine& line : lines.items) {
        items.Set(std::move(line.item.name), std::move(line.item.value));
    }
    return {items.Take(), std::move(lines.brokenLines)};
}

bool ParseWholeNumber(const std::string& text, int& value) {
    const char* begin = text.data();
    const char* const end = begin + text.size();
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') {
        ++begin;
    }
    int number = 0;
    const auto [stop, error] = std::from_chars(begin, end, number, 10);
    if (error != std::errc() || stop != end) {
        return false;
    }
    value = number;
    return true;
}

bool EndsWithNewline(const std::string& text) {
    return text.empty() || text.back() == '\n';
}

ConfigText ParseUnfinishedConfigText(const std::string& text) {
    const std::string whole = text.substr(0, text.rfind('\n') + 1);  // none: the empty text
    ConfigText result = ParseConfigText(whole);
    const auto lines = static_cast<size_t>(std::count(whole.begin(), whole.end(), '\n'));
    result.brokenLines.Add({lines + 1, "no newline at its end, as if more were to come"});
    return result;
}

std::string ConfigFilePath() {
    std::string path =
        NS_UTIL::SelfUtilCommon::getEnvValue("_APP_SHARE_DIR") + "/conf/corba_agent.cfg";
    NS_UTIL::PathFormat(path);
    return path;
}

std::string ReadConfigText(const std::string& path) {
    struct stat status;
    // Before opening: that alone has an effect on some devices.
    if (stat(path.c_str(), &status) == 0) {
        RequireFile(path, status.st_mode);
    }
    const OpenFile file(path);
    if (file.Descriptor() < 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return std::string();
        }
        ThrowUnreadable(path, errno);
    }
    if (fstat(file.Descriptor(), &status) != 0) {
        ThrowUnreadable(path, errno);
    }
    RequireFile(path, status.st_mode);
    return ReadToEnd(file, path);
}

std::string ReadSettledConfigText(const std::string& path) {
    std::string text;
    for (int reading = 0; reading < kReadingsOfAChangingFile; ++reading) {
        const FileState before = StateOf(path);
        AwaitEndOfSecond(before.changed.tv_sec);
        text = ReadConfigText(path);
        if (StateOf(path) == before) {
            break;
        }
    }
    return text;
}

}  // namespace NS_REFERENCE_HOST
