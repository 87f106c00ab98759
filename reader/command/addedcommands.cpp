#include "command/addedcommands.h"

namespace NS_LOG_READER {

std::vector<AddCommandsFunction>& AddedLibraries() {
    static std::vector<AddCommandsFunction> libraries;
    return libraries;
}

bool AddLibrary(AddCommandsFunction function) {
    AddedLibraries().push_back(function);
    return true;
}

}  // namespace NS_LOG_READER
