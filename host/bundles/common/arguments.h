// Reads the arguments that a bundle is started with.
#pragma once

#include <string>
#include <vector>

namespace NS_REFERENCE_HOST {

// An option that takes a text.
struct TextOption {
    const char* name;  // with its dashes
    std::string& value;
};

// An option that takes a whole number from `least` to `most`.
template <class Number>
struct NumberOption {
    const char* name;  // with its dashes
    Number& value;
    Number least;
    Number most;
};

// Reads `argc` arguments from `argv`, which hold no program name in front, as the service
// configurator passes them, and sets the values of the options that are given. The last one counts
// of an option that is given twice, so that whoever starts the bundle can append to a configured
// list. Reports what is wrong in the name of `bundle` and returns false then.
bool ReadArguments(const char* bundle, int argc, char* argv[],
                   const std::vector<TextOption>& texts = {},
                   const std::vector<NumberOption<int>>& numbers = {},
                   const std::vector<NumberOption<unsigned int>>& counts = {});

}  // namespace NS_REFERENCE_HOST
