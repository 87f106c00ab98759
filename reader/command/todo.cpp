#include "command/commands.h"
namespace NS_LOG_READER {
ExitCode RunReport(const Options&) { return ExitCode::Trouble; }
}
