// Takes the header of a record apart.
#pragma once

#include <cstddef>
#include <string_view>

#include "format/record.h"

namespace NS_LOG_READER {

constexpr std::string_view kDetailLabel = "\n Detail: ";
constexpr std::string_view kDumpedDetailLabel = "\n Detail : ";

// Parses everything before the detail, with `detailLabel` between them. Returns where the detail
// begins in `text`; 0: it is no header.
size_t ParseHeader(std::string_view text, std::string_view detailLabel, Record& record);

}  // namespace NS_LOG_READER
