// An agent with the logging service, the schedule service and the control socket, and the control
// program to go with it.
#pragma once

#include <json/value.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "agent/agentprocess.h"
#include "agentctl/program.h"
#include "support/temporarydirectory.h"

namespace NS_TEST {

// Thread safety: Control may be called by any thread once the agent runs.
class LiveAgent : public DirectoryTest {
  protected:
    LiveAgent();
    ~LiveAgent() override;

    // Writes the configuration: its list of bundles, and further lines.
    void Configure(const std::string& bundles, const std::string& lines = "") const;

    // Starts an agent and waits until it serves.
    enum class ObeysPermissions { No, Yes };
    void Start(const std::vector<std::string>& options,
               ObeysPermissions obeysPermissions = ObeysPermissions::No);

    // Starts one that logs each line that Log writes to it, category corbaoper.
    void StartWithInput();
    void Log(const std::string& line) const;

    // Asks the agent for its end; its exit code.
    int Stop();

    // Runs the control program.
    ProgramResult Control(std::vector<std::string> arguments) const;

    // The same where it has to succeed; its output, or the data that it printed as JSON.
    std::string Succeed(const std::vector<std::string>& arguments) const;
    Json::Value Data(std::vector<std::string> arguments) const;

    // What the status tells of one category.
    Json::Value Channel(const std::string& category) const;

    // Everything in the category's log files.
    std::string Logged(const std::string& category) const;

    // Whether the condition comes true before the patience is at its end.
    static bool Await(const std::function<bool()>& condition);

    std::unique_ptr<AgentProcess> agent_;

  private:
    int input_ = -1;  // our end of the agent's standard input
};

}  // namespace NS_TEST
