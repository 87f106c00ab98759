// What a log file does when a name is taken or a write fails.
#pragma once

namespace NS_LOG_SERVICE1 {

// See LogFilePolicy in the maintenance interface.
enum class FilePolicy { kContract, kKeepRecords };

}  // namespace NS_LOG_SERVICE1
