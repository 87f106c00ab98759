// The terminal that shows the output.
#pragma once

#include <cstddef>
#include <optional>

namespace NS_REFERENCE_HOST {

struct TerminalSize {
    std::size_t columns;
    std::size_t rows;
};

// Returns the size of the terminal that is standard output; 80 by 24 for one that does not say it,
// and nothing when standard output is no terminal.
std::optional<TerminalSize> OutputTerminalSize();

}  // namespace NS_REFERENCE_HOST
