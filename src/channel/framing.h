// The format of records in a log file.
#pragma once

#include <string_view>

#include "channel/framebuffer.h"
#include "channel/framestamps.h"
#include "channel/recordtag.h"
#include "qv_base_log/loglevel.h"
#include "record/logrecord.h"

namespace NS_LOG_SERVICE1 {

// Each function appends one piece of text to `buffer`. `number` are the digits of the record's
// number. Each text of a record ends at its first zero byte.

// A record with its number. A record of level -2 is one short line without the number.
void AppendRecord(FrameBuffer& buffer, std::string_view number, const FrameStamp& stamp,
                  const LogRecord& record);

// More than all labels, numbers and separators of one piece need.
constexpr size_t kFixedTextSize = 256;

// Returns an upper bound for the size of that piece in bytes.
inline size_t RecordSizeAtMost(const FrameStamp& stamp, const LogRecord& record) {
    return stamp.time.size() + record.context.size() + record.file.size() + record.function.size() +
           record.detail.size() + kFixedTextSize;
}

// That piece without the lines that show the number, and the short line of a record of level -2.
// Each returns the end of what it has written. REQUIRES: room for that size at `at`.
char* PutUnnumbered(char* at, const FrameStamp& stamp, const LogRecord& record);
char* PutShortLine(char* at, const FrameStamp& stamp, const LogRecord& record);

// The parts of a dump: the opening with the record that triggered it, each record that was kept
// back, and the closing, which repeats the opening's number.
void AppendDumpOpening(FrameBuffer& buffer, std::string_view number, const FrameStamp& stamp,
                       const LogRecord& trigger);
void AppendDumpedRecord(FrameBuffer& buffer, const FrameStamp& stamp, const LogRecord& record);
void AppendDumpClosing(FrameBuffer& buffer, std::string_view number);

// The first and the last line of a file at this time.
void AppendFileCreated(FrameBuffer& buffer, std::string_view time);
void AppendFileClosed(FrameBuffer& buffer, std::string_view time);

// The frame of one record without its number. The number is known only when it is the record's turn
// to be written. There is room for it on both sides of the text, so that the text is not moved.
class UnnumberedFrame {
  public:
    // No frame.
    UnnumberedFrame() = default;

    // Replaces what stands in `memory`, which holds the frame from now on. Inlined into the logging
    // call, so that hardly any register is saved twice: 25 instructions less.
    __attribute__((always_inline))
    UnnumberedFrame(FrameBuffer& memory, const FrameStamp& stamp, const LogRecord& record)
        : isShort_(record.level == LOG_LEVEL_SHORT) {
        memory.Clear();
        body_ = memory.Reserve(kMostTagSize + RecordSizeAtMost(stamp, record)) + kMostTagSize;
        end_ = isShort_ ? PutShortLine(body_, stamp, record) : PutUnnumbered(body_, stamp, record);
    }

    bool IsEmpty() const { return body_ == nullptr; }

    // Writes the number into the frame and returns the whole frame, valid until the next call. May
    // be called again with another number.
    std::string_view WithNumber(std::string_view number) {
        if (isShort_) {
            return {body_, static_cast<size_t>(end_ - body_)};
        }
        char* const begin = body_ - (number.size() + kTagMarks);
        PutTag(begin, number);
        return {begin, static_cast<size_t>(PutClosingTag(end_, number) - begin)};
    }

  private:
    char* body_ = nullptr;
    char* end_ = nullptr;
    bool isShort_ = false;  // a line without a number
};

}  // namespace NS_LOG_SERVICE1
