// What a mistyped name may have been meant to be.
#pragma once

#include <string>
#include <vector>

namespace NS_REFERENCE_HOST {

// Returns the one of `known` that becomes `name` by at most two changes of a character, upper and
// lower case being the same; empty when there is none.
std::string FindNearestName(const std::string& name, const std::vector<std::string>& known);

}  // namespace NS_REFERENCE_HOST
