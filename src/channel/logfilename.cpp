#include "channel/logfilename.h"

#include <ace/OS_NS_time.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <ctime>

namespace NS_LOG_SERVICE1 {
namespace {

const char kLogFileEnding[] = ".log";
constexpr size_t kEndingLength = sizeof kLogFileEnding - 1;

// The length of a time in the form "%Y%m%d_%H%M%S".
constexpr size_t kStampLength = 15;

std::string CreationStamp() {
    const time_t now = std::time(nullptr);
    struct tm local {};
    ACE_OS::localtime_r(&now, &local);
    char stamp[256];
    const size_t length = std::strftime(stamp, sizeof stamp, "%Y%m%d_%H%M%S", &local);
    return std::string(stamp, length);
}

// Returns the stamp of a file name and what follows it. For a name that is too short for a stamp,
// the position is past its end and substr throws.
std::string FromStamp(const std::string& name) {
    return name.substr(name.rfind('_') - kStampLength);
}

}  // namespace

const char* const kLogFileSeries = "unbi";

std::string LogFilePrefix(const std::string& category) {
    return std::string(kLogFileSeries) + "_" + category + "_";
}

std::string NewLogFileName(const std::string& prefix) {
    return prefix + CreationStamp() + "_" + std::to_string(::getpid()) + kLogFileEnding;
}

bool CompareFileNames(const std::string& a, const std::string& b) {
    return std::strcmp(FromStamp(a).c_str(), FromStamp(b).c_str()) < 0;
}

bool IsLogFileName(const std::string& directory, const std::string& prefix, const char* name) {
    const std::string entry = name;
    struct stat status {};
    return ::stat((directory + "/" + entry).c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           entry.compare(0, std::strlen(kLogFileSeries), kLogFileSeries) == 0 &&
           entry.size() >= prefix.size() + kEndingLength &&
           entry.compare(entry.size() - kEndingLength, kEndingLength, kLogFileEnding) == 0;
}

}  // namespace NS_LOG_SERVICE1
