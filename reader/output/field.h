// The fields of a record, by the names under which they are printed.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "query/recordstream.h"

namespace NS_LOG_READER {

// A value is absent, a number or a text.
struct FieldValue {
    enum Kind { Absent, Number, Text };
    Kind kind = Absent;
    int64_t number = 0;
    std::string_view text;
};

struct Field {
    const char* name;
    FieldValue (*get)(const Found& found);
};

// All fields, in the order in which they are printed.
const std::vector<Field>& AllFields();

// The same and the host, for records of several hosts.
const std::vector<Field>& AllFieldsWithHost();

// "time,level,detail". Throws BadRequest for a name that there is not.
std::vector<Field> ParseFields(const std::string& names);

// "record", "dump", "dumped" or "short".
std::string_view KindName(RecordKind kind);

}  // namespace NS_LOG_READER
