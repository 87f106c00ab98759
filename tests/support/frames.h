// How records stand in a log file: the reverse of the log file parser.
#pragma once

#include <cstdint>
#include <string>

#include "support/logfileparser.h"

namespace NS_TEST {

// A record without its number; a dumped one has another label.
inline std::string FieldsOf(const ParsedRecord& record, const std::string& detailLabel) {
    return record.stamp + ", " + record.context + ", T:" + record.thread +
           ", DL:" + std::to_string(record.level) + ", File: " + record.file +
           " Func:" + record.function + " Line:" + record.line + "\n" + detailLabel +
           record.detail + "\n";
}

inline std::string FrameOf(uint64_t number, const ParsedRecord& record) {
    const std::string n = std::to_string(number);
    return "<" + n + ">\n" + FieldsOf(record, " Detail: ") + "</" + n + ">\n\n";
}

// What a record is inside a dump.
inline std::string DumpedFrameOf(const ParsedRecord& record) {
    return FieldsOf(record, " Detail : ");
}

// A dump of the trigger around the frames in `dumped`.
inline std::string DumpFrameOf(uint64_t number, const ParsedRecord& trigger,
                               const std::string& dumped) {
    const std::string n = std::to_string(number);
    return "<" + n + ">\n" + FieldsOf(trigger, " Detail: ") +
           "*********** Dump filtered debug information begin **********\n" + dumped +
           "*********** Dump filtered debug information end **********\n</" + n + ">\n\n";
}

}  // namespace NS_TEST
