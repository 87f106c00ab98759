// What records look like in a log file.
#pragma once

#include <cstdint>
#include <string>

#include "support/logfileparser.h"

namespace NS_TEST {

// What the records of a test have in common.
struct FrameFields {
    std::string stamp;
    std::string context;
    std::string thread;
    std::string position;  // "File: f.cpp Func:Run Line:7"
};

// The line in front of a record's detail, but for its newline.
inline std::string FrameHead(const FrameFields& fields, int level) {
    return fields.stamp + ", " + fields.context + ", T:" + fields.thread +
           ", DL:" + std::to_string(level) + ", " + fields.position;
}

// A record of its own. `dump` is what Dump below makes, where there is one.
inline std::string FrameOf(const FrameFields& fields, uint64_t number, int level,
                           const std::string& detail, const std::string& dump = "") {
    const std::string n = std::to_string(number);
    return "<" + n + ">\n" + FrameHead(fields, level) + "\n Detail: " + detail + "\n" + dump +
           "</" + n + ">\n\n";
}

// A record inside a dump.
inline std::string DumpedFrameOf(const FrameFields& fields, int level, const std::string& detail) {
    return FrameHead(fields, level) + "\n Detail : " + detail + "\n";
}

// A dump of the frames in `dumped`.
inline std::string Dump(const std::string& dumped) {
    return "*********** Dump filtered debug information begin **********\n" + dumped +
           "*********** Dump filtered debug information end **********\n";
}

// The same from what the parser of log files reads.

inline FrameFields FieldsOf(const ParsedRecord& record) {
    return {record.stamp, record.context, record.thread,
            "File: " + record.file + " Func:" + record.function + " Line:" + record.line};
}

inline std::string FrameOf(uint64_t number, const ParsedRecord& record) {
    return FrameOf(FieldsOf(record), number, record.level, record.detail);
}

inline std::string DumpedFrameOf(const ParsedRecord& record) {
    return DumpedFrameOf(FieldsOf(record), record.level, record.detail);
}

// A dump of the trigger around the frames in `dumped`.
inline std::string DumpFrameOf(uint64_t number, const ParsedRecord& trigger,
                               const std::string& dumped) {
    return FrameOf(FieldsOf(trigger), number, trigger.level, trigger.detail, Dump(dumped));
}

}  // namespace NS_TEST
