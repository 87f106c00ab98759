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

// The bundles that the item "bundles" lists, in its order, with the arguments that the items
// "NAME.arguments" give them.
//
// Thread safety: one thread.
class ConfiguredBundles {
  public:
    // Reads the configuration, which is called `source` in messages. Throws AgentError when it
    // cannot be read, and for an empty list, an entry without a name and a bundle listed twice.
    explicit ConfiguredBundles(const std::string& source);

    // Puts the bundle `name` at the end of the list if it is not in it yet. `arguments` follow
    // those that the configuration gives it.
    void Add(const std::string& name, const std::vector<std::string>& arguments);

    const std::vector<BundleEntry>& Entries() const { return entries_; }

  private:
    std::vector<BundleEntry>::iterator Find(const std::string& name);
    std::vector<std::string> ReadArguments(const std::string& name) const;

    std::vector<NS_BUNDLEMGR1::NameValueStru> items_;
    std::vector<BundleEntry> entries_;
};

}  // namespace NS_REFERENCE_HOST
