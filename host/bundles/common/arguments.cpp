// Reads the arguments that a bundle is started with.
#include "common/arguments.h"

#include <CLI/CLI.hpp>

#include <algorithm>

#include "common/report.h"

namespace NS_REFERENCE_HOST {

namespace {

template <class Number>
void Declare(CLI::App& parser, const std::vector<NumberOption<Number>>& options) {
    for (const NumberOption<Number>& option : options) {
        parser.add_option(option.name, option.value)->check(CLI::Range(option.least, option.most));
    }
}

}  // namespace

bool ReadArguments(const char* bundle, int argc, char* argv[], const std::vector<TextOption>& texts,
                   const std::vector<NumberOption<int>>& numbers,
                   const std::vector<NumberOption<unsigned int>>& counts) {
    CLI::App parser;
    parser.set_help_flag();
    parser.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    for (const TextOption& option : texts) {
        parser.add_option(option.name, option.value);
    }
    Declare(parser, numbers);
    Declare(parser, counts);
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
