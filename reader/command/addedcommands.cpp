#include "command/addedcommands.h"

namespace NS_LOG_READER {

std::vector<AddedLibrary>& AddedLibraries() {
    static std::vector<AddedLibrary> libraries;
    return libraries;
}

bool AddLibrary(AddCommandsFunction addCommands, ExtendPruneFunction extendPrune) {
    AddedLibraries().push_back({addCommands, extendPrune});
    return true;
}

}  // namespace NS_LOG_READER
