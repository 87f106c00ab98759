// Which bundles the configuration asks for.
#include "agent/configuredbundles.h"

#include <algorithm>
#include <bitset>
#include <sstream>

#include "agent/agenterror.h"
#include "bundlemgr/corbaconfigitems.h"
#include "bundlemgr/processexception.h"
#include "util/selfutilcommon.h"

namespace NS_REFERENCE_HOST {

namespace {

using NS_BUNDLEMGR1::CorbaConfigItems;
using NS_BUNDLEMGR1::NameValueStru;
using Entries = std::vector<BundleEntry>;

std::vector<NameValueStru> ReadItems() {
    std::vector<NameValueStru> items;
    try {
        CorbaConfigItems::Instance()->GetCorbaConfigItems(items);
    } catch (const NS_BUNDLEMGR1::ProcessException& error) {
        throw AgentError(ExitCode::BadConfiguration, error.GetDescription());
    }
    return items;
}

Entries::iterator Find(Entries& entries, const std::string& name) {
    return std::find_if(entries.begin(), entries.end(),
                        [&name](const BundleEntry& entry) { return entry.name == name; });
}

// The name becomes part of a symbol, so it is written like one.
bool IsName(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return c == '_' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
               (c >= 'A' && c <= 'Z');
    });
}

BundleEntry ReadEntry(const std::string& text) {
    BundleEntry entry;
    const std::string::size_type equals = text.find('=');
    entry.name = NS_UTIL::Trim(text.substr(0, equals));
    if (equals != std::string::npos) {
        entry.path = NS_UTIL::Trim(text.substr(equals + 1));
    }
    if (!IsName(entry.name) || (equals != std::string::npos && entry.path.empty())) {
        throw AgentError(ExitCode::BadConfiguration, "configuration item \"bundles\": '" +
                                                         NS_UTIL::Trim(text) +
                                                         "' is neither NAME nor NAME=PATH");
    }
    return entry;
}

std::vector<std::string> ReadArguments(const std::string& name,
                                       const std::vector<NameValueStru>& items) {
    std::string value;
    GetValByKey(value, name + ".arguments", items);
    std::istringstream words(value);
    std::vector<std::string> arguments;
    for (std::string word; words >> word;) {
        arguments.push_back(word);
    }
    return arguments;
}

}  // namespace

std::vector<BundleEntry> ReadConfiguredBundles(const std::string& source) {
    const std::vector<NameValueStru> items = ReadItems();
    std::string list;
    std::vector<std::string> texts;
    if (!GetValByKey(list, "bundles", items) || NS_UTIL::Trim(list).empty()) {
        throw AgentError(ExitCode::BadConfiguration,
                         source + " lists no bundles (item \"bundles\")");
    }
    NS_UTIL::SplitStringByTag(list, texts, ',', std::bitset<16>());
    Entries entries;
    for (const std::string& text : texts) {
        BundleEntry entry = ReadEntry(text);
        if (Find(entries, entry.name) != entries.end()) {
            throw AgentError(ExitCode::BadConfiguration, "configuration item \"bundles\": '" +
                                                             entry.name + "' is listed twice");
        }
        entry.arguments = ReadArguments(entry.name, items);
        entries.push_back(std::move(entry));
    }
    return entries;
}

void AddBundle(std::vector<BundleEntry>& entries, const std::string& name,
               const std::vector<std::string>& arguments) {
    auto entry = Find(entries, name);
    if (entry == entries.end()) {
        entry = entries.insert(entries.end(), BundleEntry{name, "", {}});
    }
    entry->arguments.insert(entry->arguments.end(), arguments.begin(), arguments.end());
}

}  // namespace NS_REFERENCE_HOST
