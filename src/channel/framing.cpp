#include "channel/framing.h"

#include <charconv>
#include <cstring>
#include <limits>

#include "qv_base_log/loglevel.h"

namespace NS_LOG_SERVICE1 {
namespace {

// More than all labels, numbers and separators of one piece take together.
constexpr size_t kFixedTextSize = 256;

constexpr std::string_view kDumpBegin =
    "*********** Dump filtered debug information begin **********\n";
constexpr std::string_view kDumpEnd =
    "*********** Dump filtered debug information end **********\n";

// The formats of this file are applied by hand: one pass over the record and no parsing of a
// format text for each of them.
class Pen {
  public:
    // `textSize`: how many bytes the variable texts of the piece take at most.
    Pen(FrameBuffer& buffer, size_t textSize)
        : buffer_(buffer), at_(buffer.Reserve(textSize + kFixedTextSize)) {}
    ~Pen() { buffer_.Commit(at_); }

    Pen(const Pen&) = delete;
    Pen& operator=(const Pen&) = delete;

    // Text that is known to hold no zero byte.
    Pen& Fixed(std::string_view text) {
        std::memcpy(at_, text.data(), text.size());
        at_ += text.size();
        return *this;
    }

    // Text of a client's, which ends at its first zero byte.
    Pen& Text(std::string_view text) {
        if (text.empty()) {
            return *this;
        }
        const void* zero = std::memchr(text.data(), '\0', text.size());
        const size_t length =
            zero == nullptr ? text.size()
                            : static_cast<size_t>(static_cast<const char*>(zero) - text.data());
        return Fixed(text.substr(0, length));
    }

    template <class Number>
    Pen& Decimal(Number number) {
        at_ = std::to_chars(at_, at_ + std::numeric_limits<Number>::digits10 + 2, number).ptr;
        return *this;
    }

  private:
    FrameBuffer& buffer_;
    char* at_;
};

size_t TextSize(std::string_view stamp, const LogRecord& record) {
    return stamp.size() + record.context.size() + record.file.size() + record.function.size() +
           record.detail.size();
}

void AppendTag(Pen& pen, uint32_t number) {
    pen.Fixed("<").Decimal(number).Fixed(">\n");
}

void AppendClosingTag(Pen& pen, uint32_t number) {
    pen.Fixed("</").Decimal(number).Fixed(">\n\n");
}

// `detailLabel` differs between the two places where a record is shown.
void AppendFields(Pen& pen, std::string_view stamp, const LogRecord& record,
                  std::string_view detailLabel) {
    pen.Text(stamp).Fixed(", ").Text(record.context);
    pen.Fixed(", T:").Decimal(static_cast<long>(record.thread));
    pen.Fixed(", DL:").Decimal(record.level);
    pen.Fixed(", File: ").Text(record.file);
    pen.Fixed(" Func:").Text(record.function);
    pen.Fixed(" Line:").Decimal(record.line);
    pen.Fixed("\n").Fixed(detailLabel).Text(record.detail).Fixed("\n");
}

constexpr std::string_view kDetailLabel = " Detail: ";
// Readers tell a record that was kept back by the blank before the colon.
constexpr std::string_view kDumpedDetailLabel = " Detail : ";

}  // namespace

void AppendRecord(FrameBuffer& buffer, uint32_t number, std::string_view stamp,
                  const LogRecord& record) {
    Pen pen(buffer, TextSize(stamp, record));
    if (record.level == LOG_LEVEL_SHORT) {
        pen.Text(stamp).Fixed(",").Text(record.detail).Fixed("\n");
        return;
    }
    AppendTag(pen, number);
    AppendFields(pen, stamp, record, kDetailLabel);
    AppendClosingTag(pen, number);
}

void AppendDumpOpening(FrameBuffer& buffer, uint32_t number, std::string_view stamp,
                       const LogRecord& trigger) {
    Pen pen(buffer, TextSize(stamp, trigger));
    AppendTag(pen, number);
    AppendFields(pen, stamp, trigger, kDetailLabel);
    pen.Fixed(kDumpBegin);
}

void AppendDumpedRecord(FrameBuffer& buffer, std::string_view stamp, const LogRecord& record) {
    Pen pen(buffer, TextSize(stamp, record));
    AppendFields(pen, stamp, record, kDumpedDetailLabel);
}

void AppendDumpClosing(FrameBuffer& buffer, uint32_t number) {
    Pen pen(buffer, 0);
    pen.Fixed(kDumpEnd);
    AppendClosingTag(pen, number);
}

void AppendFileCreated(FrameBuffer& buffer, std::string_view stamp) {
    Pen(buffer, stamp.size()).Fixed("File create at ").Text(stamp).Fixed(".\n");
}

void AppendFileClosed(FrameBuffer& buffer, std::string_view stamp) {
    Pen(buffer, stamp.size()).Fixed("\nFile close at ").Text(stamp).Fixed(".\n");
}

}  // namespace NS_LOG_SERVICE1
