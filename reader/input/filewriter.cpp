#include "input/filewriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>

namespace NS_LOG_READER {
namespace {

// When the process was started; 0: unknown.
Time StartOf(int64_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(file, text, '\0');
    // The program's name stands in brackets and may hold anything; the start is the 20th word
    // behind it.
    const size_t name = text.rfind(')');
    if (name == std::string::npos) {
        return 0;
    }
    std::istringstream words(text.substr(name + 1));
    std::string word;
    for (int i = 0; i < 20; ++i) {
        words >> word;
    }
    timespec now{};
    timespec sinceBoot{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    ::clock_gettime(CLOCK_BOOTTIME, &sinceBoot);
    const int64_t ticks = std::strtoll(word.c_str(), nullptr, 10);
    const int64_t boot = int64_t{now.tv_sec} - sinceBoot.tv_sec;
    return (boot + ticks / ::sysconf(_SC_CLK_TCK)) * kMicrosPerSecond;
}

}  // namespace

bool HasWriterEnded(int descriptor, int64_t process, Time changed) {
    if (::fcntl(descriptor, F_SETLEASE, F_RDLCK) == 0) {
        ::fcntl(descriptor, F_SETLEASE, F_UNLCK);
        return true;
    }
    if (errno == EAGAIN) {
        return false;
    }
    if (process <= 0 || (::kill(static_cast<pid_t>(process), 0) != 0 && errno == ESRCH)) {
        return true;
    }
    constexpr Time tolerance = 2 * kMicrosPerSecond;
    return StartOf(process) > changed + tolerance;
}

}  // namespace NS_LOG_READER
