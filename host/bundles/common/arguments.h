// Reads the arguments that a bundle is started with.
#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace NS_REFERENCE_HOST {

// Declares a bundle's options with `declare` and reads `argc` arguments from `argv`, which hold no
// program name in front, as the service configurator passes them. Of an option that is given twice
// the last one counts, so that whoever starts the bundle can append to a configured list. Reports
// what is wrong in the name of `bundle` and returns false then.
bool ReadArguments(const char* bundle, int argc, char* argv[],
                   const std::function<void(CLI::App&)>& declare);

}  // namespace NS_REFERENCE_HOST
