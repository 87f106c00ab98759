// Says what the configuration means, and what is wrong with it.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "agent/itemchecks.h"
#include "bundlemgr/corbaconfigitems.h"

namespace NS_REFERENCE_HOST {

// Made of the text of a configuration file.
//
// Thread safety: one thread.
class ConfigurationCheck {
  public:
    // `share` is the share directory in which the file at `path` lies.
    ConfigurationCheck(const std::string& path, const std::string& text, const std::string& share);

    // Every item that is in the file or has a default: its value in force, where that comes from,
    // and what is wrong with it. Then the lines that are no items.
    void Print(std::ostream& out) const;

    // What is wrong, each with the item's name in front; without the lines that are no items, which
    // the configuration store reports itself.
    std::vector<std::string> Warnings() const;

    // Whether anything is wrong, and whether an agent would not start.
    bool HasWarnings() const { return !brokenLines_.empty() || !Warnings().empty(); }
    bool HasErrors() const { return !errors_.empty(); }

  private:
    // An item as it stands in the file.
    struct Line {
        std::string value;
        size_t number = 0;
        // The first ten lines before it that have the same name, and how many come behind these.
        std::vector<size_t> overridden;
        size_t moreOverridden = 0;
    };

    struct Finding {
        std::string name;
        std::string source;
        ItemInForce item;
    };

    void ReadLines(const std::string& text);
    void Judge(const std::string& share);
    void JudgeBundles();
    void JudgeOthers();
    void Add(const std::string& name, ItemInForce item);
    std::optional<std::string> Text(const std::string& name) const;

    const std::string path_;
    std::map<std::string, Line> lines_;  // by the item's name
    std::vector<std::string> order_;     // the names, as they come in the file
    std::vector<std::string> brokenLines_;
    std::vector<Finding> findings_;
    std::vector<std::string> errors_;  // why an agent would not start
    bool hasBundles_ = false;          // whether the list of bundles can be read
};

}  // namespace NS_REFERENCE_HOST
