// Which bundles the configuration asks for.
#pragma once

#include <string>
#include <vector>

namespace NS_REFERENCE_HOST {

// One bundle to load. A value.
struct BundleEntry {
    std::string name;
    std::string path;  // empty: by the name
    std::vector<std::string> arguments;
};

// The bundles that the item "bundles" lists, in its order, with the arguments that the items
// "NAME.arguments" give them. Throws AgentError when the configuration cannot be read, and for an
// empty list, an entry without a name and a bundle that is listed twice; `source` names the
// configuration in its message.
std::vector<BundleEntry> ReadConfiguredBundles(const std::string& source);

// Appends `arguments` to those of the bundle `name`, which is put at the end of the list if it is
// not in it yet.
void AddBundle(std::vector<BundleEntry>& entries, const std::string& name,
               const std::vector<std::string>& arguments);

}  // namespace NS_REFERENCE_HOST
