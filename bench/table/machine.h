// The machine, as far as figures depend on it.
#pragma once

#include <string>

namespace NS_BENCH {

// Processor, number of cores, kernel, date.
std::string DescribeMachine();

// "ext4", "tmpfs" ...
std::string FileSystemOf(const std::string& directory);

// Empty, or a warning that others are at work on the machine.
std::string BusyWarning();

}  // namespace NS_BENCH
