#include "output/field.h"

#include <algorithm>

#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

FieldValue Text(std::string_view text) {
    return {FieldValue::Text, 0, text};
}

FieldValue Number(int64_t number) {
    return {FieldValue::Number, number, {}};
}

// What only whole records have; short ones have a time and a text.
template <class Value>
FieldValue Full(const Found& found, Value value) {
    return found.record.kind == RecordKind::Short ? FieldValue() : value;
}

std::string DescribeUnknownField(const std::string& name) {
    std::string text = "there is no field '" + name + "'; there are";
    for (const Field& known : AllFieldsWithHost()) {
        text.append(" ").append(known.name);
    }
    return text;
}

}  // namespace

std::string_view KindName(RecordKind kind) {
    constexpr std::string_view names[] = {"record", "dump", "dumped", "short"};
    return names[static_cast<size_t>(kind)];
}

const std::vector<Field>& AllFields() {
    static const std::vector<Field> fields = {
        {"time", [](const Found& f) { return Text(f.record.stamp); }},
        {"level", [](const Found& f) { return Number(f.record.level); }},
        {"category", [](const Found& f) { return Text(f.record.origin->category); }},
        {"process", [](const Found& f) { return Number(f.record.origin->process); }},
        {"kind", [](const Found& f) { return Text(KindName(f.record.kind)); }},
        {"number",
         [](const Found& f) {
             const bool hasOne =
                 f.record.kind == RecordKind::Record || f.record.kind == RecordKind::Dump;
             return hasOne ? Number(f.record.number) : FieldValue();
         }},
        {"dump",
         [](const Found& f) {
             return f.record.kind == RecordKind::Dumped ? Number(f.record.number) : FieldValue();
         }},
        {"operation", [](const Found& f) { return Full(f, Text(f.record.operation)); }},
        {"top_thread", [](const Found& f) { return Full(f, Number(f.record.operationThread)); }},
        {"interface", [](const Found& f) { return Full(f, Text(f.record.interface)); }},
        {"user", [](const Found& f) { return Full(f, Text(f.record.user)); }},
        {"thread", [](const Found& f) { return Full(f, Number(f.record.thread)); }},
        {"file", [](const Found& f) { return Full(f, Text(f.record.file)); }},
        {"line", [](const Found& f) { return Full(f, Number(f.record.line)); }},
        {"function", [](const Found& f) { return Full(f, Text(f.record.function)); }},
        {"detail", [](const Found& f) { return Text(f.record.detail); }},
        {"log", [](const Found& f) { return Text(f.record.origin->path); }},
        {"offset", [](const Found& f) { return Number(static_cast<int64_t>(f.record.offset)); }},
    };
    return fields;
}

const std::vector<Field>& AllFieldsWithHost() {
    static const std::vector<Field> fields = [] {
        std::vector<Field> all = AllFields();
        all.push_back({"host", [](const Found& f) { return Text(f.record.origin->host); }});
        return all;
    }();
    return fields;
}

std::vector<Field> ParseFields(const std::string& names) {
    std::vector<Field> chosen;
    for (size_t begin = 0; begin <= names.size();) {
        const size_t end = std::min(names.find(',', begin), names.size());
        const std::string name = names.substr(begin, end - begin);
        const std::vector<Field>& all = AllFieldsWithHost();
        const auto field = std::find_if(all.begin(), all.end(),
                                        [&](const Field& known) { return known.name == name; });
        if (field == all.end()) {
            throw BadRequest(DescribeUnknownField(name));
        }
        chosen.push_back(*field);
        begin = end + 1;
    }
    return chosen;
}

}  // namespace NS_LOG_READER
