// Logs every line that arrives on a descriptor.
#pragma once

#include <string>

#include "common/work.h"
#include "qv_base_log/loggerif.h"

namespace NS_REFERENCE_HOST {

// Logs each line as one record, in the order of arrival. Text after the last newline is a line too.
// In the record, the file is "stdin" and the line is the line's number in the input.
//
// In the log file a text ends at its first zero byte. So zero bytes are replaced by the character
// U+2400, and nothing is lost. All other bytes are unchanged; the service replaces what is not
// UTF-8.
//
// When stopped, logs all that it has read, including an incomplete last line.
//
// Thread safety: one thread.
class LineFeed : public Work {
  public:
    // Reads from `descriptor`, which stays the caller's.
    LineFeed(NS_LOG_SERVICE1::LoggerIF& logger, int level, int descriptor);

    // False when reading failed, which is reported.
    bool Run(const EventDescriptor& stop) override;

  private:
    // Waits until there is something to read, or the end of the input. Returns false when `stop`
    // came first.
    bool WaitForInput(const EventDescriptor& stop) const;

    void LogLine(std::string& line);

    NS_LOG_SERVICE1::LoggerIF& logger_;
    const int level_;
    const int descriptor_;
    const std::string file_ = "stdin";
    const std::string function_ = "LineFeed";
    unsigned int lineNumber_ = 0;
};

}  // namespace NS_REFERENCE_HOST
