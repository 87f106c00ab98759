// Texts of records on a terminal.
#pragma once

#include <string_view>

#include "output/output.h"

namespace NS_LOG_READER {

// Puts the text without what a terminal would obey or show misleadingly: control characters other
// than the tabulator, and characters that change the direction of writing, become \xNN for each of
// their bytes. Other bytes are put as they are, valid UTF-8 or not.
void PutVisible(Output& output, std::string_view text);

}  // namespace NS_LOG_READER
