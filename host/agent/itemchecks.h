// What the items of the configuration mean to those who read them, and what is wrong with them.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace NS_REFERENCE_HOST {

// An item as it is in force when the agent starts. A value.
struct ItemInForce {
    std::string value;
    std::vector<std::string> warnings;  // each a text for the operator
};

// Each takes the value that stands in the file, if there is one. Thread safety: any thread.

// REQUIRES: `name` is one of NumberItems.
ItemInForce CheckNumber(const std::string& name, const std::optional<std::string>& text);

// "logswitch", which is read in one way at the start and in another one when the file changes.
ItemInForce CheckLogSwitch(const std::optional<std::string>& text);

// "logpath", looked for in the file system as this process may.
ItemInForce CheckLogPath(const std::optional<std::string>& text, const std::string& share);

// The names of the items that CheckNumber knows, in the order in which to show them.
std::vector<std::string> NumberItems();

}  // namespace NS_REFERENCE_HOST
