// An ASN message's text: lines of fields, a tenth of which hold a value that is masked.
#pragma once

#include <string>
#include <vector>

namespace NS_BENCH {

// The type whose messages have eleven keys that are masked.
constexpr char kAsnType[] = "QAsnGetPhysicalLocationInfoRsp";

struct AsnField {
    const char* name;
    const char* value;
};

// Fields that take about `size` bytes when they are printed one a line; `percent` of them hold a
// masked value.
std::vector<AsnField> AsnFields(size_t size, int percent);

// One line of the printed message.
void PrintAsnField(std::ostream& out, const AsnField& field);

// The printed message.
std::string AsnText(size_t size, int percent);

}  // namespace NS_BENCH
