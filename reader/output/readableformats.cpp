// The formats for people: short and long.
#include <algorithm>
#include <cstdio>

#include "output/recordformat.h"
#include "output/visibletext.h"

namespace NS_LOG_READER {
namespace {

constexpr std::string_view kReset = "\x1b[0m";
constexpr std::string_view kMatch = "\x1b[1;31m";
constexpr std::string_view kOperation = "\x1b[36m";
constexpr std::string_view kCategory = "\x1b[35m";
constexpr std::string_view kDim = "\x1b[2m";

std::string_view LevelColour(int level) {
    switch (level) {
        case 0:
            return "\x1b[1;37;41m";
        case 1:
            return "\x1b[32m";
        case 2:
            return "\x1b[33m";
        default:
            return kDim;
    }
}

std::string_view LevelName(int level) {
    constexpr std::string_view names[] = {"L0", "L1", "L2", "L3"};
    return level >= 0 && level <= 3 ? names[level] : level == -1 ? "AS" : level == -2 ? "--" : "L?";
}

class ReadableFormat : public RecordFormat {
  public:
    explicit ReadableFormat(FormatOptions options) : options_(std::move(options)) {}

    void Separate(Output& output) override {
        Colour(output, kDim);
        output.Put("--");
        Colour(output, kReset);
        output.Put('\n');
    }

  protected:
    void Colour(Output& output, std::string_view code) const {
        if (options_.isColoured) {
            output.Put(code);
        }
    }

    void PutColoured(Output& output, std::string_view colour, std::string_view text) const {
        Colour(output, colour);
        PutVisible(output, text);
        Colour(output, kReset);
    }

    // The text as PutVisible puts it, with what the pattern matches in colour.
    void PutMarked(Output& output, std::string_view text) const {
        size_t at = 0;
        while (options_.isColoured && options_.pattern != nullptr) {
            const std::string_view match = options_.pattern->Find(text, at);
            if (match.empty()) {
                break;
            }
            const auto begin = static_cast<size_t>(match.data() - text.data());
            PutVisible(output, text.substr(at, begin - at));
            PutColoured(output, kMatch, match);
            at = begin + match.size();
        }
        PutVisible(output, text.substr(at));
    }

    const std::vector<Field>& Fields() const { return options_.fields; }

  private:
    FormatOptions options_;
};

class ShortFormat final : public ReadableFormat {
  public:
    using ReadableFormat::ReadableFormat;

    void Write(Output& output, const Found& found) override {
        if (!Fields().empty()) {
            WriteFields(output, found);
            return;
        }
        const Record& record = found.record;
        PutTime(output, record.stamp);
        output.Put(' ');
        PutColoured(output, LevelColour(record.level), LevelName(record.level));
        output.Put(' ');
        PutColoured(output, kCategory, record.origin->category);
        output.Put(' ');
        if (record.kind != RecordKind::Short) {
            PutColoured(output, kOperation, record.operation.empty() ? "-" : record.operation);
            output.Put(' ');
            PutVisible(output, record.interface.empty() ? "-" : record.interface);
            output.Put(' ');
        }
        if (record.kind == RecordKind::Dumped) {
            Colour(output, kDim);
            output.Put("[dump ");
            output.PutNumber(record.number);
            output.Put("] ");
            Colour(output, kReset);
        }
        PutDetail(output, record);
        output.Put('\n');
    }

  private:
    // "2026-03-05 14:07:09.000": the zone and the microseconds are left out.
    static void PutTime(Output& output, std::string_view stamp) {
        const size_t point = stamp.find('.');
        const size_t day = stamp.find('T');
        if (point == std::string_view::npos || day == std::string_view::npos) {
            output.Put(stamp);
            return;
        }
        output.Put(stamp.substr(0, day));
        output.Put(' ');
        output.Put(stamp.substr(day + 1, point + 3 - day));
    }

    void PutDetail(Output& output, const Record& record) const {
        std::string_view detail = record.detail;
        const size_t first = detail.find_first_not_of("\n\r ");
        detail.remove_prefix(std::min(first, detail.size()));
        const size_t end = std::min(detail.find('\n'), detail.size());
        PutMarked(output, detail.substr(0, end));
        const auto more =
            std::count(detail.begin() + static_cast<std::ptrdiff_t>(end), detail.end(), '\n');
        if (more > 0) {
            Colour(output, kDim);
            output.Put(" [+");
            output.PutNumber(more);
            output.Put(more == 1 ? " line]" : " lines]");
            Colour(output, kReset);
        }
        if (record.torn) {
            output.Put(" [torn]");
        }
    }

    void WriteFields(Output& output, const Found& found) const {
        for (const Field& field : Fields()) {
            if (&field != &Fields().front()) {
                output.Put(' ');
            }
            const FieldValue value = field.get(found);
            if (value.kind == FieldValue::Text) {
                PutMarked(output, value.text);
            } else if (value.kind == FieldValue::Number) {
                output.PutNumber(value.number);
            } else {
                output.Put('-');
            }
        }
        output.Put('\n');
    }
};

class LongFormat final : public ReadableFormat {
  public:
    using ReadableFormat::ReadableFormat;

    void Write(Output& output, const Found& found) override {
        const std::vector<Field>& fields = Fields().empty() ? AllFields() : Fields();
        bool hasDetail = false;
        for (const Field& field : fields) {
            if (field.name == std::string_view("detail")) {
                hasDetail = true;
                continue;
            }
            const FieldValue value = field.get(found);
            if (value.kind != FieldValue::Absent) {
                PutLine(output, field.name, value, found.record);
            }
        }
        if (found.record.torn) {
            output.Put("torn        the end of this record is missing\n");
        }
        if (hasDetail) {
            PutDetail(output, found.record.detail);
        }
        output.Put('\n');
    }

  private:
    void PutLine(Output& output, std::string_view name, const FieldValue& value,
                 const Record& record) const {
        constexpr size_t width = 12;
        constexpr std::string_view blanks = "            ";
        PutColoured(output, kDim, name);
        output.Put(blanks.substr(0, width - std::min(width - 1, name.size())));
        if (value.kind == FieldValue::Number) {
            Colour(output, name == "level" ? LevelColour(record.level) : "");
            output.PutNumber(value.number);
            Colour(output, kReset);
        } else {
            Colour(output, name == "operation" ? kOperation : "");
            PutMarked(output, value.text);
            Colour(output, kReset);
        }
        output.Put('\n');
    }

    void PutDetail(Output& output, std::string_view detail) const {
        while (!detail.empty()) {
            const size_t end = std::min(detail.find('\n'), detail.size());
            output.Put("    ");
            PutMarked(output, detail.substr(0, end));
            output.Put('\n');
            detail.remove_prefix(std::min(end + 1, detail.size()));
        }
    }
};

}  // namespace

std::unique_ptr<RecordFormat> MakeShortFormat(FormatOptions options) {
    return std::make_unique<ShortFormat>(std::move(options));
}

std::unique_ptr<RecordFormat> MakeLongFormat(FormatOptions options) {
    return std::make_unique<LongFormat>(std::move(options));
}

}  // namespace NS_LOG_READER
