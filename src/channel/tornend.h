// The end of a file whose writer was stopped in the middle of a record.
#pragma once

#include <cstdint>

#include "channel/filestream.h"

namespace NS_LOG_SERVICE1 {

// Returns how many bytes at the end of the file belong to a record or a line whose end is missing:
// 0 when the file ends with a whole one. What is written after such a beginning would be taken for
// the rest of it. REQUIRES: FileStream::Continue has opened the file, and nothing was written
// since.
size_t TornEndSize(const FileStream& file);

}  // namespace NS_LOG_SERVICE1
