// Prints what a run of the agent has left in its log directory.
#include "agent/logfilesummary.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <tuple>
#include <vector>

#include "agent/lastrecord.h"
#include "bundlemgr/logsupport.h"

namespace NS_REFERENCE_HOST {

namespace {

std::vector<std::string> FindFiles(const std::string& directory, const timespec& start) {
    const std::string suffix = "_" + std::to_string(getpid()) + ".log";
    std::vector<std::string> paths;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
        const std::string path = entry.path().string();
        struct stat status {};
        if (path.size() > suffix.size() &&
            path.compare(path.size() - suffix.size(), suffix.size(), suffix) == 0 &&
            stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
            std::tie(status.st_mtim.tv_sec, status.st_mtim.tv_nsec) >=
                std::tie(start.tv_sec, start.tv_nsec)) {
            paths.push_back(path);
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

// Each line of `text` indented, control characters shown by their numbers.
std::string Indented(const std::string& text) {
    static const char kDigits[] = "0123456789abcdef";
    std::string shown;
    bool atLineStart = true;
    for (const char c : text) {
        if (atLineStart) {
            shown += "    ";
        }
        atLineStart = c == '\n';
        const auto byte = static_cast<unsigned char>(c);
        if ((byte < 0x20 && c != '\n' && c != '\t') || byte == 0x7F) {
            shown.append("\\x").append(1, kDigits[byte >> 4]).append(1, kDigits[byte & 15]);
        } else {
            shown += c;
        }
    }
    return atLineStart ? shown : shown + '\n';
}

bool IsContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Removes a character that was cut in the middle.
void MendCut(std::string& begin, std::string& end) {
    while (!begin.empty() && IsContinuation(begin.back())) {
        begin.pop_back();
    }
    if (!begin.empty() && static_cast<unsigned char>(begin.back()) >= 0xC0) {
        begin.pop_back();
    }
    end.erase(end.begin(),
              std::find_if(end.begin(), end.end(), [](char c) { return !IsContinuation(c); }));
}

void PrintFile(std::ostream& out, const std::string& path) {
    try {
        out << path << "\n  " << std::filesystem::file_size(path) << " bytes, ";
        LastRecord record = FindLastRecord(path);
        if (record.begin.empty()) {
            out << "no record\n";
            return;
        }
        if (record.leftOut == 0) {
            out << "last record:\n" << Indented(record.begin);
            return;
        }
        MendCut(record.begin, record.end);
        out << "last record (" << record.leftOut << " bytes in its middle are not shown):\n"
            << Indented(record.begin) << "    [...]\n"
            << Indented(record.end);
    } catch (const std::system_error& error) {
        out << "unreadable: " << error.what() << '\n';
    }
}

}  // namespace

LogFileSummary::LogFileSummary() : start_() {
    // The clock of file times. The finer clock runs ahead of it.
    clock_gettime(CLOCK_REALTIME_COARSE, &start_);
}

void LogFileSummary::Print(std::ostream& out) const {
    const std::string directory = NS_BUNDLEMGR1::GetNBILogPath();
    const std::vector<std::string> paths = FindFiles(directory, start_);
    if (paths.empty()) {
        out << "No log file was written in " << directory << '\n';
    }
    for (const std::string& path : paths) {
        PrintFile(out, path);
    }
    out.flush();
}

}  // namespace NS_REFERENCE_HOST
