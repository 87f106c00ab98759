// Commands of other libraries in the same program.
#pragma once

#include <functional>
#include <vector>

#include "command/options.h"

namespace CLI {
class App;
}

namespace NS_LOG_READER {

// Makes a subcommand that takes paths, and that runs `run` when the command line names it.
using CommandAdder = std::function<CLI::App*(const char* name, const char* description,
                                             std::function<int(const Options&)> run)>;

// Adds a library's commands.
using AddCommandsFunction = void (*)(const CommandAdder& add);

// Those of the libraries that this program was linked with. A library puts its own here before main
// begins: a variable with static storage is made with AddLibrary.
std::vector<AddCommandsFunction>& AddedLibraries();

bool AddLibrary(AddCommandsFunction function);

}  // namespace NS_LOG_READER
