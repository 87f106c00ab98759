// Says what the configuration means, and what is wrong with it.
#include "agent/configurationcheck.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

#include "agent/agenterror.h"
#include "agent/configuredbundles.h"
#include "agent/filepolicy.h"
#include "agent/nearestname.h"
#include "agent/sharedlibrary.h"
#include "platform/configfile.h"

namespace NS_REFERENCE_HOST {

namespace {

constexpr char kArguments[] = ".arguments";

// How many lines with one name are named. A file that was put there by mistake may have millions.
constexpr size_t kNamedLines = 10;

// The clients that the agent itself adds to the list.
const std::vector<std::string> kClients = {"qv_line_feed", "qv_sample_traffic"};

bool EndsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Where the system finds a library is not known before it is loaded.
void CheckLibrary(const BundleEntry& entry, std::vector<std::string>& warnings) {
    const bool isPath = entry.path.find('/') != std::string::npos;
    std::error_code ignored;
    if (isPath && !std::filesystem::exists(entry.path, ignored)) {
        warnings.push_back(entry.name + ": there is no " + entry.path);
    } else if (entry.path.empty()) {
        const std::string library = FindBundleLibrary(entry.name);
        if (library.find('/') == std::string::npos) {
            warnings.push_back(
                entry.name + ": " + library +
                " does not lie beside the program; the system's search path must have it");
        }
    }
}

}  // namespace

ConfigurationCheck::ConfigurationCheck(const std::string& path, const std::string& text,
                                       const std::string& share)
    : path_(path) {
    ReadLines(text);
    Judge(share);
}

void ConfigurationCheck::ReadLines(const std::string& text) {
    const ConfigLines content = ParseConfigLines(text);
    for (const auto& [number, item] : content.items) {
        Line& known = lines_[item.name];
        if (known.number == 0) {
            order_.push_back(item.name);
        } else if (known.overridden.size() < kNamedLines) {
            known.overridden.push_back(known.number);
        } else {
            ++known.moreOverridden;
        }
        known.value = item.value;
        known.number = number;
    }
    for (const BrokenLine& broken : content.brokenLines.first) {
        brokenLines_.push_back("line " + std::to_string(broken.number) + ": " + broken.reason +
                               ", the line is skipped");
    }
    if (content.brokenLines.more > 0) {
        brokenLines_.push_back(DescribeMore(content.brokenLines));
    }
}

std::optional<std::string> ConfigurationCheck::Text(const std::string& name) const {
    const auto found = lines_.find(name);
    return found == lines_.end() ? std::nullopt : std::optional(found->second.value);
}

void ConfigurationCheck::Add(const std::string& name, ItemInForce item) {
    std::string source = "default";
    if (const auto found = lines_.find(name); found != lines_.end()) {
        source = "line " + std::to_string(found->second.number);
        for (const size_t line : found->second.overridden) {
            item.warnings.push_back("line " + std::to_string(line) +
                                    " is without effect, because " + source + " has it again");
        }
        if (const size_t more = found->second.moreOverridden; more > 0) {
            item.warnings.push_back(std::to_string(more) +
                                    (more == 1 ? " more line is" : " more lines are") +
                                    " without effect, because " + source + " has it again");
        }
    }
    findings_.push_back({name, source, std::move(item)});
}

void ConfigurationCheck::Judge(const std::string& share) {
    JudgeBundles();
    Add("logpath", CheckLogPath(Text("logpath"), share));
    try {
        const std::optional<std::string> policy = Text(kFilePolicyItem);
        if (policy) {
            ReadFilePolicy({{kFilePolicyItem, *policy}});
        }
        Add(kFilePolicyItem, {policy.value_or(kContract), {}});
    } catch (const AgentError& error) {
        errors_.emplace_back(error.what());
    }
    Add("logswitch", CheckLogSwitch(Text("logswitch")));
    for (const std::string& name : NumberItems()) {
        Add(name, CheckNumber(name, Text(name)));
    }
    JudgeOthers();
}

void ConfigurationCheck::JudgeBundles() {
    ConfiguredBundles::Items items;
    for (const auto& [name, line] : lines_) {
        items.push_back({name, line.value});
    }
    try {
        const ConfiguredBundles bundles(path_, items);
        ItemInForce item{Text("bundles").value_or(""), {}};
        for (const BundleEntry& entry : bundles.Entries()) {
            CheckLibrary(entry, item.warnings);
            const std::string arguments = entry.name + kArguments;
            if (Text(arguments)) {
                Add(arguments, {*Text(arguments), {}});
            }
        }
        Add("bundles", item);
        hasBundles_ = true;
    } catch (const AgentError& error) {
        errors_.emplace_back(error.what());
    }
}

// Items that none of the above has: bundles may have items of their own, and operators slips of the
// keyboard.
void ConfigurationCheck::JudgeOthers() {
    std::vector<std::string> known;
    for (const Finding& finding : findings_) {
        known.push_back(finding.name);
    }
    const std::set<std::string> shown(known.begin(), known.end());
    for (const std::string& client : kClients) {
        known.push_back(client + kArguments);
    }
    for (const std::string& name : order_) {
        const bool isKnown = std::find(known.begin(), known.end(), name) != known.end();
        ItemInForce item{lines_[name].value, {}};
        if (!isKnown && EndsWith(name, kArguments)) {
            if (hasBundles_) {
                item.warnings.emplace_back("is for a bundle that is not listed");
            }
        } else if (const std::string near = isKnown ? "" : FindNearestName(name, known);
                   !near.empty()) {
            item.warnings.push_back("is not known; is \"" + near + "\" meant?");
        }
        if (shown.count(name) == 0 && name != "bundles" && name != kFilePolicyItem) {
            Add(name, item);
        }
    }
}

std::vector<std::string> ConfigurationCheck::Warnings() const {
    std::vector<std::string> all;
    for (const Finding& finding : findings_) {
        for (const std::string& warning : finding.item.warnings) {
            all.push_back(finding.name + ": " + warning);
        }
    }
    return all;
}

void ConfigurationCheck::Print(std::ostream& out) const {
    out << "configuration " << path_ << '\n';
    for (const Finding& finding : findings_) {
        out << finding.name << " = " << finding.item.value << "   (" << finding.source << ")\n";
        for (const std::string& warning : finding.item.warnings) {
            out << "    warning: " << warning << '\n';
        }
    }
    for (const std::string& line : brokenLines_) {
        out << "warning: " << line << '\n';
    }
    for (const std::string& error : errors_) {
        out << "error: " << error << '\n';
    }
}

}  // namespace NS_REFERENCE_HOST
