#include "channel/framing.h"

#include <charconv>
#include <cstring>
#include <limits>

#include "base/copytext.h"
#include "qv_base_log/loglevel.h"

namespace NS_LOG_SERVICE1 {
namespace {

// More than all labels, numbers and separators of one piece need.
constexpr size_t kFixedTextSize = 256;

constexpr std::string_view kDumpBegin =
    "*********** Dump filtered debug information begin **********\n";
constexpr std::string_view kDumpEnd =
    "*********** Dump filtered debug information end **********\n";

// Writes the pieces without format strings: parsing one for each record would cost more than
// writing the record.
class FrameWriter {
  public:
    // `textSize`: the maximum size of the piece's variable texts in bytes.
    FrameWriter(FrameBuffer& buffer, size_t textSize)
        : buffer_(buffer), at_(buffer.Reserve(textSize + kFixedTextSize)) {}
    ~FrameWriter() { buffer_.Commit(at_); }

    FrameWriter(const FrameWriter&) = delete;
    FrameWriter& operator=(const FrameWriter&) = delete;

    // REQUIRES: `text` contains no zero byte.
    FrameWriter& Fixed(std::string_view text) {
        at_ = CopyText(at_, text.data(), text.size());
        return *this;
    }

    // A client's text, up to its first zero byte.
    FrameWriter& Text(std::string_view text) {
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
    FrameWriter& Decimal(Number number) {
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

void AppendTag(FrameWriter& writer, uint32_t number) {
    writer.Fixed("<").Decimal(number).Fixed(">\n");
}

void AppendClosingTag(FrameWriter& writer, uint32_t number) {
    writer.Fixed("</").Decimal(number).Fixed(">\n\n");
}

// `detailLabel` differs between the two places where a record is shown.
void AppendFields(FrameWriter& writer, std::string_view stamp, const LogRecord& record,
                  std::string_view detailLabel) {
    writer.Text(stamp).Fixed(", ").Text(record.context);
    writer.Fixed(", T:").Decimal(static_cast<long>(record.thread));
    writer.Fixed(", DL:").Decimal(record.level);
    writer.Fixed(", File: ").Text(record.file);
    writer.Fixed(" Func:").Text(record.function);
    writer.Fixed(" Line:").Decimal(record.line);
    writer.Fixed("\n").Fixed(detailLabel).Text(record.detail).Fixed("\n");
}

void AppendShortLine(FrameWriter& writer, std::string_view stamp, const LogRecord& record) {
    writer.Text(stamp).Fixed(",").Text(record.detail).Fixed("\n");
}

constexpr std::string_view kDetailLabel = " Detail: ";
// The blank before the colon marks a record that was kept back.
constexpr std::string_view kDumpedDetailLabel = " Detail : ";

}  // namespace

void AppendRecord(FrameBuffer& buffer, uint32_t number, std::string_view stamp,
                  const LogRecord& record) {
    FrameWriter writer(buffer, TextSize(stamp, record));
    if (record.level == LOG_LEVEL_SHORT) {
        AppendShortLine(writer, stamp, record);
        return;
    }
    AppendTag(writer, number);
    AppendFields(writer, stamp, record, kDetailLabel);
    AppendClosingTag(writer, number);
}

size_t RecordSizeAtMost(std::string_view stamp, const LogRecord& record) {
    return TextSize(stamp, record) + kFixedTextSize;
}

void AppendBody(FrameBuffer& buffer, std::string_view stamp, const LogRecord& record) {
    FrameWriter writer(buffer, TextSize(stamp, record));
    if (record.level == LOG_LEVEL_SHORT) {
        AppendShortLine(writer, stamp, record);
        return;
    }
    AppendFields(writer, stamp, record, kDetailLabel);
}

void AppendNumbered(FrameBuffer& buffer, uint32_t number, int32_t level, std::string_view body) {
    FrameWriter writer(buffer, body.size());
    if (level == LOG_LEVEL_SHORT) {
        writer.Fixed(body);
        return;
    }
    AppendTag(writer, number);
    writer.Fixed(body);
    AppendClosingTag(writer, number);
}

void AppendDumpOpening(FrameBuffer& buffer, uint32_t number, std::string_view stamp,
                       const LogRecord& trigger) {
    FrameWriter writer(buffer, TextSize(stamp, trigger));
    AppendTag(writer, number);
    AppendFields(writer, stamp, trigger, kDetailLabel);
    writer.Fixed(kDumpBegin);
}

void AppendDumpedRecord(FrameBuffer& buffer, std::string_view stamp, const LogRecord& record) {
    FrameWriter writer(buffer, TextSize(stamp, record));
    AppendFields(writer, stamp, record, kDumpedDetailLabel);
}

void AppendDumpClosing(FrameBuffer& buffer, uint32_t number) {
    FrameWriter writer(buffer, 0);
    writer.Fixed(kDumpEnd);
    AppendClosingTag(writer, number);
}

void AppendFileCreated(FrameBuffer& buffer, std::string_view stamp) {
    FrameWriter(buffer, stamp.size()).Fixed("File create at ").Text(stamp).Fixed(".\n");
}

void AppendFileClosed(FrameBuffer& buffer, std::string_view stamp) {
    FrameWriter(buffer, stamp.size()).Fixed("\nFile close at ").Text(stamp).Fixed(".\n");
}

}  // namespace NS_LOG_SERVICE1
