#include "table/machine.h"

#include <sys/utsname.h>
#include <sys/vfs.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <thread>

namespace NS_BENCH {

namespace {

std::string Processor() {
    std::ifstream info("/proc/cpuinfo");
    std::string line;
    while (std::getline(info, line)) {
        if (line.rfind("model name", 0) == 0) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

std::string Today() {
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d", &local);
    return text;
}

}  // namespace

std::string DescribeMachine() {
    utsname system{};
    uname(&system);
    return Today() + ", " + Processor() + ", " +
           std::to_string(std::thread::hardware_concurrency()) + " cores, Linux " + system.release;
}

std::string FileSystemOf(const std::string& directory) {
    struct statfs info {};
    if (statfs(directory.c_str(), &info) != 0) {
        return "unknown";
    }
    switch (info.f_type) {
        case 0xEF53:
            return "ext4";
        case 0x01021994:
            return "tmpfs";
        case 0x58465342:
            return "xfs";
        case 0x9123683E:
            return "btrfs";
        case 0x794C7630:
            return "overlay";
        default:
            return "another";
    }
}

// What the benchmark itself adds while it runs is no reason to warn, so it is asked for before.
std::string BusyWarning() {
    double load = 0;
    if (getloadavg(&load, 1) != 1 || load < 0.3 * std::thread::hardware_concurrency()) {
        return "";
    }
    char text[160];
    std::snprintf(text, sizeof text,
                  "The machine is busy: %.1f processes were running on average in the last minute. "
                  "Do not trust these figures.",
                  load);
    return text;
}

}  // namespace NS_BENCH
