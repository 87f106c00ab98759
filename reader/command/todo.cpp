#include "command/commands.h"
namespace NS_LOG_READER {
ExitCode RunFollow(const Options&) {
    return ExitCode::Trouble;
}
ExitCode RunVerify(const Options&) {
    return ExitCode::Trouble;
}
ExitCode RunStats(const Options&) {
    return ExitCode::Trouble;
}
ExitCode RunReport(const Options&) {
    return ExitCode::Trouble;
}
ExitCode RunPrune(const Options&) {
    return ExitCode::Trouble;
}
ExitCode RunExport(const Options&) {
    return ExitCode::Trouble;
}
}  // namespace NS_LOG_READER
