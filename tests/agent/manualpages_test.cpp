// The manual pages tell what the program's options and the configuration's items are.
#include <gmock/gmock.h>

#include <regex>
#include <set>
#include <sstream>

#include "agent/agentfixture.h"

namespace {

using namespace NS_TEST;
using namespace testing;

class ManualPages : public AgentTest {
  protected:
    // What stands in a file of the project, as its reader sees it: without the marks of a manual.
    static std::string Text(const std::string& name) {
        std::string text = ReadFile(std::string(QV_SOURCE) + "/" + name);
        text = std::regex_replace(text, std::regex("\\\\f[A-Z]"), "");
        return std::regex_replace(text, std::regex("\\\\"), "");
    }

    // Everything that the expression's first group finds.
    static std::set<std::string> FindAll(const std::string& text, const std::string& expression) {
        const std::regex regex(expression, std::regex::ECMAScript | std::regex::multiline);
        std::set<std::string> found;
        for (std::sregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at) {
            found.insert(at->str(1));
        }
        return found;
    }

    // The items that the manual describes, each in a paragraph with its name on top.
    static std::set<std::string> ItemsOfTheManual() {
        return FindAll(Text("host/agent/corba_agent.cfg.5"), "^\\.TP\n\\.B ([A-Za-z]+)$");
    }
};

// A name that has a place of its own in the manual, in the line below ".TP".
const char kOptionOfTheManual[] = "(--[a-z-]+)";

TEST_F(ManualPages, OfTheAgentHasTheOptionsOfTheHelpAndNoOthers) {
    const std::set<std::string> offered =
        FindAll(Run({"--help"}).output, "^  (?:-[a-z],)?(--[a-z-]+)");
    const std::set<std::string> aliases =
        FindAll(Run({"--help"}).output, "^  --[a-z-]+,(--[a-z-]+)");
    std::set<std::string> described;
    std::istringstream page(Text("host/agent/qv_agent.1"));
    std::string before;
    for (std::string line; std::getline(page, line); before = line) {
        if (before == ".TP") {
            described.merge(FindAll(line, kOptionOfTheManual));
        }
    }
    std::set<std::string> all = offered;
    all.insert(aliases.begin(), aliases.end());
    EXPECT_GE(all.size(), 10U);
    EXPECT_EQ(described, all);
}

TEST_F(ManualPages, OfTheAgentHasItsExitCodes) {
    const std::string page = Text("host/agent/qv_agent.1");
    const std::string status = page.substr(page.find(".SH EXIT STATUS"));
    const std::string help = Run({"--help"}).output;
    EXPECT_EQ(FindAll(status, "^\\.B ([0-9]+)$"),
              FindAll(help.substr(help.find("Exit codes:")), "^  ([0-9]+)  "));
}

TEST_F(ManualPages, OfTheConfigurationHasTheItemsOfTheFileThatComesAlong) {
    std::set<std::string> items = FindAll(
        ReadFile(std::string(QV_SOURCE) + "/host/agent/corba_agent.cfg"), "^#?([A-Za-z]+) = ");
    EXPECT_GE(items.size(), 11U);
    EXPECT_EQ(ItemsOfTheManual(), items);
}

TEST_F(ManualPages, OfTheConfigurationHasTheItemsOfTheOperatorsGuide) {
    std::set<std::string> items =
        FindAll(ReadFile(std::string(QV_SOURCE) + "/docs/operating.md"), "^\\| `([A-Za-z]+)` \\|");
    items.insert("bundles");  // the agent's, not the service's
    for (const char* category : {"debug", "corbadebug", "corbanotify", "corbasys", "corbaoper"}) {
        items.erase(category);  // the guide has a table of these as well
    }
    EXPECT_EQ(ItemsOfTheManual(), items);
}

}  // namespace
