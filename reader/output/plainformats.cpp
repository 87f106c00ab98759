// The formats without any adornment: raw and CSV.
#include "output/recordformat.h"
#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

class RawFormat final : public RecordFormat {
  public:
    void Write(Output& output, const Found& found) override {
        const Record& record = found.record;
        const bool isInsideLast = record.kind == RecordKind::Dumped && record.origin == origin_ &&
                                  record.offset > begin_ && record.offset < end_;
        if (isInsideLast) {
            return;
        }
        output.Put(record.bytes);
        if (record.kind == RecordKind::Dump) {
            origin_ = record.origin;
            begin_ = record.offset;
            end_ = record.offset + record.bytes.size();
        }
    }

    void Separate(Output& output) override { output.Put("--\n"); }

  private:
    const LogFileName* origin_ = nullptr;  // of the last dump
    uint64_t begin_ = 0;
    uint64_t end_ = 0;
};

class CsvFormat final : public RecordFormat {
  public:
    explicit CsvFormat(const std::vector<Field>& fields)
        : fields_(fields.empty() ? AllFields() : fields) {}

    void Begin(Output& output) override {
        for (const Field& field : fields_) {
            output.Put(&field == &fields_.front() ? "" : ",");
            output.Put(field.name);
        }
        output.Put("\r\n");
    }

    void Write(Output& output, const Found& found) override {
        bool isFirst = true;
        for (const Field& field : fields_) {
            output.Put(isFirst ? "" : ",");
            isFirst = false;
            const FieldValue value = field.get(found);
            if (value.kind == FieldValue::Text) {
                PutText(output, value.text);
            } else if (value.kind == FieldValue::Number) {
                output.PutNumber(value.number);
            }
        }
        output.Put("\r\n");
    }

  private:
    static void PutText(Output& output, std::string_view text) {
        if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
            output.Put(text);
            return;
        }
        output.Put('"');
        for (size_t quote = text.find('"'); quote != std::string_view::npos;
             quote = text.find('"')) {
            output.Put(text.substr(0, quote + 1));
            output.Put('"');
            text.remove_prefix(quote + 1);
        }
        output.Put(text);
        output.Put('"');
    }

    std::vector<Field> fields_;
};

}  // namespace

std::unique_ptr<RecordFormat> MakeRawFormat() {
    return std::make_unique<RawFormat>();
}

std::unique_ptr<RecordFormat> MakeCsvFormat(const FormatOptions& options) {
    return std::make_unique<CsvFormat>(options.fields);
}

std::unique_ptr<RecordFormat> MakeFormat(const std::string& name, const FormatOptions& options) {
    if (name == "raw" && !options.fields.empty()) {
        throw BadRequest("--fields: --output raw has none, it is the bytes of the file");
    }
    if (name == "raw") {
        return MakeRawFormat();
    }
    if (name == "short") {
        return MakeShortFormat(options);
    }
    if (name == "long") {
        return MakeLongFormat(options);
    }
    if (name == "json") {
        return MakeJsonFormat(options);
    }
    if (name == "csv") {
        return MakeCsvFormat(options);
    }
    throw BadRequest("there is no output '" + name + "'; there are raw short long json csv");
}

}  // namespace NS_LOG_READER
