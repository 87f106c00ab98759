// Whether somebody still writes a file.
#pragma once

#include <cstdint>

#include "format/stamp.h"

namespace NS_LOG_READER {

// Whether nobody will write the open file any more: nobody has it open for writing, whatever
// container that one lives in, or, where the system does not tell that to this user, its process
// has ended. `process`: the number in the file's name. `changed`: when the file was written last; a
// process that was started later has only the same number. Sends the program SIGIO when somebody
// opens the file for writing meanwhile.
bool HasWriterEnded(int descriptor, int64_t process, Time changed);

}  // namespace NS_LOG_READER
