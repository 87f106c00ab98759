// Texts of log files, as tests need them.
#pragma once

#include <cstdint>
#include <string>

namespace NS_TEST {

inline std::string LogStamp(int second) {
    char text[64];
    std::snprintf(text, sizeof text, "2026-03-05T14:%02d:%02d.000000+01:00", second / 60 % 60,
                  second % 60);
    return text;
}

struct LogFields {
    int second = 0;
    int level = 2;
    std::string operation = "op-1";
    std::string user = "opr1";
    std::string detail = "text";
};

inline std::string LogHeader(const LogFields& fields) {
    return LogStamp(fields.second) + ", " + fields.operation +
           ",TopT:12,If:getNE,UserMsg:" + fields.user +
           ", T:-7, DL:" + std::to_string(fields.level) + ", File: ne.cpp Func:Query Line:88";
}

inline std::string LogFrame(uint32_t number, const LogFields& fields = {}) {
    const std::string digits = std::to_string(number);
    return "<" + digits + ">\n" + LogHeader(fields) + "\n Detail: " + fields.detail + "\n</" +
           digits + ">\n\n";
}

inline std::string DumpedText(const LogFields& fields) {
    return LogHeader(fields) + "\n Detail : " + fields.detail + "\n";
}

inline std::string LogDump(uint32_t number, LogFields fields, const std::string& dumped) {
    fields.detail += "\n*********** Dump filtered debug information begin **********\n" + dumped +
                     "*********** Dump filtered debug information end **********";
    return LogFrame(number, fields);
}

inline std::string ShortText(int second, const std::string& text) {
    return LogStamp(second) + "," + text + "\n";
}

inline std::string CreatedText(int second = 0) {
    return "File create at " + LogStamp(second) + ".\n";
}

inline std::string ClosedText(int second = 3599) {
    return "\nFile close at " + LogStamp(second) + ".\n";
}

// The name of a log file of that second of the day.
inline std::string LogName(const std::string& category, int second = 0, int process = 7) {
    char text[64];
    std::snprintf(text, sizeof text, "_20260305_14%02d%02d_%d.log", second / 60 % 60, second % 60,
                  process);
    return "unbi_" + category + text;
}

}  // namespace NS_TEST
