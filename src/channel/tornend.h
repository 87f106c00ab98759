// The end of a file whose writer was stopped in the middle of a record.
#pragma once

#include <cstdint>
#include <system_error>

#include "channel/filestream.h"

namespace NS_LOG_SERVICE1 {

// Sets `size` to how many bytes at the end of the file belong to a record or a line whose end is
// missing: 0 when the file ends with a whole one. What is written after such a beginning would be
// taken for the rest of it. Fails when the file cannot be read: cut back by a guess, it would lose
// whole records. May throw std::bad_alloc. REQUIRES: FileStream::Continue has opened the file, and
// nothing was written since.
std::error_code FindTornEnd(const FileStream& file, uint64_t& size);

}  // namespace NS_LOG_SERVICE1
