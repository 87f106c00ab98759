#include "harness/asntext.h"

#include <cstring>
#include <ostream>
#include <sstream>

namespace NS_BENCH {

namespace {

constexpr AsnField kMaskedFields[] = {
    {"roomID", "17"},
    {"equipmentRoomName", "\"Central office 4, floor 2, east wing\""},
    {"cabinetName", "\"C1\""},
    {"name", "\"NE-4711\""},
    {"memo", "\"access by the north gate only\""},
    {"subshelfMemo", "\"spare\""},
    {"siteName", "\"Hilltop\""},
    {"country", "\"Norway\""},
    {"province", "\"Vestland\""},
    {"city", "\"Bergen\""},
    {"location", "\"60.39, 5.32\""},
};
constexpr AsnField kPlainFields[] = {
    {"neId", "3145728"},   {"softwareVersion", "\"5.21.20.31 SP3\""},
    {"portRate", "stm64"}, {"direction", "bidirectional"},
    {"slotIndex", "12"},   {"alarmSeverity", "indeterminate"},
};

constexpr char kIndent[] = "    ";
constexpr char kAssignment[] = " = ";

size_t PrintedSize(const AsnField& field) {
    return sizeof kIndent + sizeof kAssignment - 1 + std::strlen(field.name) +
           std::strlen(field.value);
}

}  // namespace

std::vector<AsnField> AsnFields(size_t size, int percent) {
    std::vector<AsnField> fields;
    size_t printed = 0;
    int due = 0;
    while (true) {
        due += percent;
        const bool masked = due >= 100;
        due -= masked ? 100 : 0;
        const size_t at = fields.size();
        const AsnField& field = masked ? kMaskedFields[at % std::size(kMaskedFields)]
                                       : kPlainFields[at % std::size(kPlainFields)];
        printed += PrintedSize(field);
        if (printed > size) {
            return fields;
        }
        fields.push_back(field);
    }
}

void PrintAsnField(std::ostream& out, const AsnField& field) {
    out << kIndent << field.name << kAssignment << field.value << '\n';
}

std::string AsnText(size_t size, int percent) {
    std::ostringstream text;
    for (const AsnField& field : AsnFields(size, percent)) {
        PrintAsnField(text, field);
    }
    return text.str();
}

}  // namespace NS_BENCH
