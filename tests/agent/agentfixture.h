// What the agent's tests have in common: a share directory, a configuration, a way to run.
#pragma once

#include <string>
#include <vector>

#include "agentprocess.h"
#include "support/logfileparser.h"
#include "support/temporarydirectory.h"

namespace NS_TEST {

// How an agent ended and what it said. A value.
struct AgentResult {
    int exitCode = -1;
    std::string output;
    std::string errors;
};

// Each test has a share directory of its own with a configuration that lists the logging service.
class AgentTest : public DirectoryTest {
  protected:
    AgentTest();

    // Replaces the configuration by the items that every test needs and `text`.
    void Configure(const std::string& text);

    // Replaces the configuration by `text` alone.
    void WriteConfiguration(const std::string& text) const;

    // The entry of the configuration's bundle list for a bundle of these tests.
    static std::string Entry(const std::string& name);

    // Options and environment of an agent that uses the share directory.
    AgentStart Start(const std::vector<std::string>& arguments) const;

    // Runs an agent to its end; with an input of `input`, or without any.
    AgentResult Run(const std::vector<std::string>& arguments);
    AgentResult RunWith(const std::string& input, const std::vector<std::string>& arguments);
    AgentResult RunAs(const AgentStart& start);

    // The paths of the log files, those of `category` only.
    std::vector<std::string> LogFiles(const std::string& category) const;

    // The records of all log files of the category. Every run that gets as far as starting the
    // service leaves a file for each category at its end, with or without records.
    std::vector<ParsedPiece> Records(const std::string& category) const;

    // What the recording bundles have noted.
    std::vector<std::string> Events() const;

    std::string OutputPath() const { return Path("output"); }
};

}  // namespace NS_TEST
