// Which bundles the configuration asks for.
#pragma once

#include <string>
#include <vector>

#include "bundlemgr/corbaconfigitems.h"

namespace NS_REFERENCE_HOST {

// One bundle to load. A value.
struct BundleEntry {
    std::string name;
    std::string path;  // empty: by the name
    std::vector<std::string> arguments;
};

// The bundles in the item "bundles", in its order. Their arguments are in the items
// "NAME.arguments".
//
// Thread safety: one thread.
class ConfiguredBundles {
  public:
    using Items = std::vector<NS_BUNDLEMGR1::NameValueStru>;

    // Takes the items of the configuration, which messages call `source`. Throws AgentError for an
    // empty list, an entry without a name and a bundle that is listed twice.
    ConfiguredBundles(const std::string& source, Items items);

    // Appends the bundle `name` to the list if it is not in it. `arguments` follow its configured
    // ones.
    void Add(const std::string& name, const std::vector<std::string>& arguments);

    const std::vector<BundleEntry>& Entries() const { return entries_; }

  private:
    std::vector<BundleEntry>::iterator Find(const std::string& name);
    std::vector<std::string> ReadArguments(const std::string& name) const;

    Items items_;
    std::vector<BundleEntry> entries_;
};

}  // namespace NS_REFERENCE_HOST
