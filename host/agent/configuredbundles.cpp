// Which bundles the configuration asks for.
#include "agent/configuredbundles.h"

#include <algorithm>
#include <bitset>
#include <sstream>
#include <utility>

#include "agent/agenterror.h"
#include "util/selfutilcommon.h"

namespace NS_REFERENCE_HOST {

namespace {

// The name becomes part of a symbol, so it must be an identifier.
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

}  // namespace

ConfiguredBundles::ConfiguredBundles(const std::string& source, Items items)
    : items_(std::move(items)) {
    std::string list;
    std::vector<std::string> texts;
    if (!GetValByKey(list, "bundles", items_) || NS_UTIL::Trim(list).empty()) {
        throw AgentError(ExitCode::BadConfiguration,
                         source + " lists no bundles (item \"bundles\")");
    }
    NS_UTIL::SplitStringByTag(list, texts, ',', std::bitset<16>());
    for (const std::string& text : texts) {
        BundleEntry entry = ReadEntry(text);
        if (Find(entry.name) != entries_.end()) {
            throw AgentError(ExitCode::BadConfiguration, "configuration item \"bundles\": '" +
                                                             entry.name + "' is listed twice");
        }
        entry.arguments = ReadArguments(entry.name);
        entries_.push_back(std::move(entry));
    }
}

void ConfiguredBundles::Add(const std::string& name, const std::vector<std::string>& arguments) {
    auto entry = Find(name);
    if (entry == entries_.end()) {
        entry = entries_.insert(entry, BundleEntry{name, "", ReadArguments(name)});
    }
    entry->arguments.insert(entry->arguments.end(), arguments.begin(), arguments.end());
}

std::vector<BundleEntry>::iterator ConfiguredBundles::Find(const std::string& name) {
    return std::find_if(entries_.begin(), entries_.end(),
                        [&name](const BundleEntry& entry) { return entry.name == name; });
}

std::vector<std::string> ConfiguredBundles::ReadArguments(const std::string& name) const {
    std::string value;
    GetValByKey(value, name + ".arguments", items_);
    std::istringstream words(value);
    std::vector<std::string> arguments;
    for (std::string word; words >> word;) {
        arguments.push_back(word);
    }
    return arguments;
}

}  // namespace NS_REFERENCE_HOST
