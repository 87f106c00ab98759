// Reads the arguments that a bundle is started with.
#include "common/arguments.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string>
#include <vector>

#include "common/report.h"

namespace NS_REFERENCE_HOST {

bool ReadArguments(const char* bundle, int argc, char* argv[],
                   const std::function<void(CLI::App&)>& declare) {
    CLI::App parser;
    parser.set_help_flag();
    parser.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    declare(parser);
    std::vector<std::string> arguments(argv, argv + argc);
    std::reverse(arguments.begin(), arguments.end());  // the parser takes them from the back
    try {
        parser.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        Report(bundle, std::string("arguments: ") + error.what());
        return false;
    }
    return true;
}

}  // namespace NS_REFERENCE_HOST
