// What the program can do. Each command returns the program's exit code.
#pragma once

#include "command/options.h"

namespace NS_LOG_READER {

// As grep ends.
enum class ExitCode { Found = 0, NothingFound = 1, Trouble = 2 };

ExitCode RunShow(const Options& options);
ExitCode RunFollow(const Options& options);
ExitCode RunFollowStore(const Options& options);
ExitCode RunVerify(const Options& options);
ExitCode RunStats(const Options& options);
ExitCode RunReport(const Options& options);
ExitCode RunPrune(const Options& options);
ExitCode RunExport(const Options& options);

}  // namespace NS_LOG_READER
