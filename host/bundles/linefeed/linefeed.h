// Logs every line that arrives on a descriptor.
#pragma once

#include <string>

#include "common/work.h"
#include "qv_base_log/loggerif.h"

namespace NS_REFERENCE_HOST {

// Every line becomes one record, in the order of arrival; what stands behind the last newline
// counts as a line. In the record, file is "stdin" and line the line's number in the input.
//
// A text ends, in the log file, at its first zero byte. So that nothing behind it is lost, a zero
// byte is replaced by the visible sign for it, U+2400. All other bytes are passed on as they are;
// the service turns what is no UTF-8 into a readable form.
//
// When it is stopped, what has been read by then is logged, an incomplete last line included.
//
// Thread safety: one thread.
class LineFeed : public Work {
  public:
    // Reads from `descriptor`, which stays the caller's.
    LineFeed(NS_LOG_SERVICE1::LoggerIF& logger, int level, int descriptor);

    // False when reading failed, which is reported.
    bool Run(const EventDescriptor& stop) override;

  private:
    // Whether there is something to read, the end of the input included; false: `stop` came first.
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
