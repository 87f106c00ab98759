// Prints what a run of the agent has left in its log directory.
#include "agent/logfilesummary.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <tuple>

#include "agent/lastrecord.h"

namespace NS_REFERENCE_HOST {

namespace {

bool EndsWith(const std::string& text, const std::string& end) {
    return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
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

LogFileSummary::LogFileSummary(const std::string& directory)
    : directory_(directory), before_(FindFiles(directory)) {}

LogFileSummary::Traces LogFileSummary::FindFiles(const std::string& directory) {
    const std::string suffix = "_" + std::to_string(getpid()) + ".log";
    Traces found;
    std::error_code error;
    std::filesystem::directory_iterator entry(directory, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string path = entry->path().string();
        struct stat status {};
        if (EndsWith(path, suffix) && stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
            found[path] = {status.st_ino, status.st_size, status.st_mtim.tv_sec,
                           status.st_mtim.tv_nsec};
        }
    }
    return found;
}

bool LogFileSummary::IsWritten(const std::string& path, const Trace& trace) const {
    const auto found = before_.find(path);
    if (found == before_.end()) {
        return true;
    }
    const Trace& before = found->second;
    return std::tie(before.file, before.size, before.seconds, before.nanoseconds) !=
           std::tie(trace.file, trace.size, trace.seconds, trace.nanoseconds);
}

void LogFileSummary::Print(std::ostream& out) const {
    bool isEmpty = true;
    for (const auto& [path, trace] : FindFiles(directory_)) {
        if (IsWritten(path, trace)) {
            PrintFile(out, path);
            isEmpty = false;
        }
    }
    if (isEmpty) {
        out << "No log file was written in " << directory_ << '\n';
    }
    out.flush();
}

}  // namespace NS_REFERENCE_HOST
