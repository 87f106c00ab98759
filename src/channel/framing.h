// The format of records in a log file.
#pragma once

#include <cstdint>
#include <string_view>

#include "channel/framebuffer.h"
#include "record/logrecord.h"

namespace NS_LOG_SERVICE1 {

// Each function appends one piece of text to `buffer`. `stamp` is the record's time as the platform
// formats it. Each text ends at its first zero byte.

// A record with its number. A record of level -2 is one short line without the number.
void AppendRecord(FrameBuffer& buffer, uint32_t number, std::string_view stamp,
                  const LogRecord& record);

// At least the size of that piece.
size_t RecordSizeAtMost(std::string_view stamp, const LogRecord& record);

// The same in two steps, of which the first needs no lock: the record without its number, and then
// the number around that body.
void AppendBody(FrameBuffer& buffer, std::string_view stamp, const LogRecord& record);
void AppendNumbered(FrameBuffer& buffer, uint32_t number, int32_t level, std::string_view body);

// The parts of a dump: the opening with the record that triggered it, each record that was kept
// back, and the closing, which repeats the opening's number.
void AppendDumpOpening(FrameBuffer& buffer, uint32_t number, std::string_view stamp,
                       const LogRecord& trigger);
void AppendDumpedRecord(FrameBuffer& buffer, std::string_view stamp, const LogRecord& record);
void AppendDumpClosing(FrameBuffer& buffer, uint32_t number);

// The first and the last line of a file.
void AppendFileCreated(FrameBuffer& buffer, std::string_view stamp);
void AppendFileClosed(FrameBuffer& buffer, std::string_view stamp);

}  // namespace NS_LOG_SERVICE1
