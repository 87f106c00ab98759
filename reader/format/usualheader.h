// Takes headers apart that hold nothing unusual, in one pass.
#pragma once

#include <cstddef>
#include <string_view>

#include "format/record.h"

namespace NS_LOG_READER {

// Parses a header with a time stamp, which is in `record` already, whose texts hold neither commas
// nor newlines, and whose numbers have at most 16 digits. Returns where the detail begins; 0: it is
// not such a header, may still be one, and fields of the record may have been changed. Where it
// returns something, no other way to take the header apart would differ.
size_t ParseUsualHeader(std::string_view text, std::string_view detailLabel, Record& record);

}  // namespace NS_LOG_READER
