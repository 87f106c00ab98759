// An agent with the logging service, the schedule service and the control socket, and the control
// program to go with it.
#pragma once

#include <json/value.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "agent/agentfixture.h"
#include "support/pipe.h"

namespace NS_TEST {

// Thread safety: Control may be called by any thread once the agent runs.
class LiveAgent : public AgentTest {
  protected:
    LiveAgent();

    // Starts an agent and waits until it serves.
    enum class ObeysPermissions { No, Yes };
    void Start(const std::vector<std::string>& options,
               ObeysPermissions obeysPermissions = ObeysPermissions::No);

    // Starts one that logs each line that Log writes to it, category corbaoper.
    void StartWithInput();
    void Log(const std::string& line) const;

    // Asks the agent for its end; its exit code.
    int Stop();

    // The control program with these arguments, and its result.
    ChildStart Operator(const std::vector<std::string>& arguments) const;
    ChildResult Control(const std::vector<std::string>& arguments) const;

    // The same where it has to succeed; its output, or the data that it printed as JSON.
    std::string Succeed(const std::vector<std::string>& arguments) const;
    Json::Value Data(std::vector<std::string> arguments) const;

    // The same where the agent has to refuse; the reason.
    std::string Refusal(const std::vector<std::string>& arguments) const;

    // What the status tells of one category.
    Json::Value Channel(const std::string& category) const;

    // Whether that number of the category corbaoper reaches the value.
    bool AwaitCount(const std::string& name, int value) const;

    // Whether the condition comes true before the patience is at its end.
    static bool Await(const std::function<bool()>& condition);

    std::unique_ptr<ChildProcess> agent_;

  private:
    void StartAs(const ChildStart& start);

    Pipe input_;
};

}  // namespace NS_TEST
