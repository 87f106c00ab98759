#include "command/commands.h"
namespace NS_LOG_READER {
ExitCode RunReport(const Options&) {
    return ExitCode::Trouble;
}
ExitCode RunExport(const Options&) {
    return ExitCode::Trouble;
}
}  // namespace NS_LOG_READER
