// Logs every line that arrives on a descriptor.
#include "linefeed/linefeed.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <vector>

#include "common/report.h"
#include "linefeed/linesplitter.h"
#include "util/threadcontext.h"

namespace NS_REFERENCE_HOST {

namespace {

constexpr std::size_t kChunkSize = std::size_t{256} * 1024;

// The visible character for a zero byte, U+2400, in UTF-8.
constexpr char kZeroByteSign[] = "\xE2\x90\x80";

void ShowZeroBytes(std::string& line) {
    std::string::size_type zero = line.find('\0');
    if (zero == std::string::npos) {
        return;
    }
    std::string shown;
    shown.reserve(line.size() * 2);
    std::string::size_type begin = 0;
    for (; zero != std::string::npos; zero = line.find('\0', begin)) {
        shown.append(line, begin, zero - begin).append(kZeroByteSign);
        begin = zero + 1;
    }
    shown.append(line, begin, std::string::npos);
    line.swap(shown);
}

}  // namespace

LineFeed::LineFeed(NS_LOG_SERVICE1::LoggerIF& logger, int level, int descriptor)
    : logger_(logger), level_(level), descriptor_(descriptor) {}

bool LineFeed::Run(const EventDescriptor& stop) {
    const NS_UTIL::ThreadContextScope context(
        NS_UTIL::ThreadContextInfo(1, "LineFeed", "stdin", "line-feed"));
    LineSplitter splitter([this](std::string& line) { LogLine(line); });
    std::vector<char> chunk(kChunkSize);
    bool success = true;
    while (WaitForInput(stop)) {
        const ssize_t got = read(descriptor_, chunk.data(), chunk.size());
        if (got > 0) {
            splitter.Add(chunk.data(), static_cast<std::size_t>(got));
        } else if (got == 0) {
            break;
        } else if (errno != EINTR && errno != EAGAIN) {
            const std::string reason = std::generic_category().message(errno);
            Report("qv_line_feed", "the input cannot be read: " + reason);
            success = false;
            break;
        }
    }
    splitter.Finish();
    return success;
}

bool LineFeed::WaitForInput(const EventDescriptor& stop) const {
    pollfd entries[] = {{stop.Descriptor(), POLLIN, 0}, {descriptor_, POLLIN, 0}};
    while (poll(entries, 2, -1) < 0) {
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "poll");
        }
    }
    return entries[0].revents == 0;
}

void LineFeed::LogLine(std::string& line) {
    ShowZeroBytes(line);
    logger_.Log(file_, function_, ++lineNumber_, level_, line);
}

}  // namespace NS_REFERENCE_HOST
