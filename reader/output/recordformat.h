// How records are printed.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "output/field.h"
#include "output/output.h"
#include "query/pattern.h"
#include "query/recordstream.h"

namespace NS_LOG_READER {

// Thread safety: none.
class RecordFormat {
  public:
    virtual ~RecordFormat() = default;
    virtual void Begin(Output&) {}
    virtual void Write(Output& output, const Found& found) = 0;
    // Between records that do not follow each other, when context is shown.
    virtual void Separate(Output&) {}
};

struct FormatOptions {
    std::vector<Field> fields;  // empty: what the format shows by itself
    bool isColoured = false;
    const Pattern* pattern = nullptr;  // to be marked in colour
};

// The bytes of the file. A dump comes whole, and what stands in it not once more.
std::unique_ptr<RecordFormat> MakeRawFormat();
// One line each: time, level, category, operation, interface and the detail's first line.
std::unique_ptr<RecordFormat> MakeShortFormat(FormatOptions options);
// Every field on a line of its own, the detail below.
std::unique_ptr<RecordFormat> MakeLongFormat(FormatOptions options);
// One object a line.
std::unique_ptr<RecordFormat> MakeJsonFormat(const FormatOptions& options);
// RFC 4180, with a heading.
std::unique_ptr<RecordFormat> MakeCsvFormat(const FormatOptions& options);

// By its name: raw, short, long, json or csv. Throws BadRequest.
std::unique_ptr<RecordFormat> MakeFormat(const std::string& name, const FormatOptions& options);

// The version of the objects that the JSON format prints. It changes when a field gets another
// meaning or goes, not when one is added.
constexpr int kJsonVersion = 1;

// The text as a JSON string, with its quotes. Bytes that are no UTF-8 become U+FFFD.
void PutJsonString(Output& output, std::string_view text);
// The same without the quotes.
void PutJsonText(Output& output, std::string_view text);

// A further member of an object.
void PutJsonMember(Output& output, const char* name, int64_t value);
void PutJsonMember(Output& output, const char* name, uint64_t value);
void PutJsonMember(Output& output, const char* name, std::string_view value);

}  // namespace NS_LOG_READER
