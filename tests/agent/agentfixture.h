// What the agent's tests have in common: a share directory, a configuration, a way to run.
#pragma once

#include <string>
#include <vector>

#include "support/childprocess.h"
#include "support/logfileparser.h"
#include "support/temporarydirectory.h"

namespace NS_TEST {

// The names of all log categories.
extern const std::vector<std::string> kCategories;

// Each test has a share directory of its own with a configuration that lists the logging service.
class AgentTest : public DirectoryTest {
  protected:
    AgentTest();

    // Replaces the configuration by the items that every test needs and `text`.
    void Configure(const std::string& text) const;

    // Replaces the configuration by `text` alone.
    void WriteConfiguration(const std::string& text) const;

    // The entry of the configuration's bundle list for a bundle of these tests.
    static std::string Entry(const std::string& name);

    // An agent that uses the share directory; one that runs the sample, unless an argument says
    // otherwise, because it has no input.
    ChildStart Agent(const std::vector<std::string>& arguments) const;

    // Runs an agent to its end; without an input or with one of `input`.
    ChildResult Run(const std::vector<std::string>& arguments) const;
    ChildResult RunWith(const std::string& input, const std::vector<std::string>& arguments) const;

    // The paths of the category's log files, and all that stands in them.
    std::vector<std::string> LogFiles(const std::string& category) const;
    std::string Logged(const std::string& category) const;

    // The records of all log files of the category. Every run that gets as far as starting the
    // service leaves a file for each category at its end, with or without records.
    std::vector<ParsedPiece> Records(const std::string& category) const;

    // Their details.
    std::vector<std::string> Details(const std::string& category) const;
};

}  // namespace NS_TEST
