// The terminal that shows the output.
#include "agentctl/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace NS_REFERENCE_HOST {

std::optional<TerminalSize> OutputTerminalSize() {
    if (isatty(STDOUT_FILENO) == 0) {
        return std::nullopt;
    }
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
        return TerminalSize{80, 24};
    }
    return TerminalSize{size.ws_col, size.ws_row};
}

}  // namespace NS_REFERENCE_HOST
