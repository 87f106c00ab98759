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

// Adds options to "prune", by which `options.openGuard` is set. `options` is what is parsed into.
using ExtendPruneFunction = void (*)(CLI::App& prune, Options& options);

struct AddedLibrary {
    AddCommandsFunction addCommands;
    ExtendPruneFunction extendPrune;
};

// Those that this program was linked with. A library puts its own here before main begins: a
// variable with static storage is made with AddLibrary.
std::vector<AddedLibrary>& AddedLibraries();

bool AddLibrary(AddCommandsFunction addCommands, ExtendPruneFunction extendPrune);

}  // namespace NS_LOG_READER
