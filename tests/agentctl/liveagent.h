// An agent with the logging service, the schedule service and the control socket, and the control
// program to go with it.
#pragma once

#include <json/value.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "agent/agentfixture.h"
#include "agentctl/tasks.h"
#include "control/answer.h"
#include "support/pipe.h"

namespace NS_TEST {

// Thread safety: Control may be called by any thread once the agent runs.
class LiveAgent : public AgentTest {
  protected:
    LiveAgent() { Configure("bundles = qv_schedule, qv_base_log, qv_control\n"); }

    // Starts an agent and waits until it serves. Throws when it does not: the rest of the test
    // would wait for it in vain.
    void Start(const std::vector<std::string>& options = {"--traffic", "none"}) {
        StartAs(Agent(options));
    }
    void StartAs(const ChildStart& start) {
        agent_ = std::make_unique<ChildProcess>(start);
        if (!agent_->WaitForError("serving")) {
            throw std::runtime_error("the agent does not serve: " + agent_->GetErrors());
        }
    }

    // Starts one that logs each line that Log writes to it, category corbaoper.
    void StartWithInput() { StartAs(Agent({"--traffic", "input"}, input_.Reader())); }
    void Log(const std::string& line) const { input_.Write(line + "\n"); }

    // Asks the agent for its end, which has to be a success.
    void Stop() {
        agent_->Signal(SIGTERM);
        EXPECT_EQ(agent_->Wait().exitCode, 0) << agent_->GetErrors();
    }

    // The control program with these arguments, and its result.
    ChildStart Operator(const std::vector<std::string>& arguments) const {
        ChildStart start{
            {QV_AGENTCTL, "--share", Path(), "--timeout", std::to_string(kPatience.count())}};
        start.words.insert(start.words.end(), arguments.begin(), arguments.end());
        return start;
    }
    ChildResult Control(const std::vector<std::string>& arguments) const {
        return RunProgram(Operator(arguments));
    }

    // The same where it has to succeed; its output, or the data that it printed as JSON.
    std::string Succeed(const std::vector<std::string>& arguments) const {
        const ChildResult result = Control(arguments);
        EXPECT_EQ(result.exitCode, 0) << ::testing::PrintToString(arguments);
        EXPECT_EQ(result.errors, "");
        return result.output;
    }
    Json::Value Data(std::vector<std::string> arguments) const {
        arguments.emplace_back("--json");
        return NS_REFERENCE_HOST::ReadJsonObject(Succeed(arguments));
    }

    // The same where the agent has to refuse; the reason.
    std::string Refusal(const std::vector<std::string>& arguments) const {
        const ChildResult result = Control(arguments);
        EXPECT_EQ(result.exitCode, 1) << ::testing::PrintToString(arguments);
        return result.errors;
    }

    // What the status tells: of all channels, of one, and whether queues are written periodically.
    Json::Value Channels() const { return Data({"status"})["channels"]; }
    Json::Value Channel(const std::string& category = "corbaoper") const {
        const Json::Value channels = Channels();
        for (const Json::Value& channel : channels) {
            if (channel["category"].asString() == category) {
                return channel;
            }
        }
        ADD_FAILURE() << "no channel " << category;
        return Json::Value();
    }
    bool IsPeriodic() const { return Data({"status"})["periodic"].asBool(); }

    Json::Value Loggers() const { return Data({"loggers"})["loggers"]; }

    // Whether that number of the category corbaoper reaches the value.
    bool AwaitCount(const std::string& name, int value) const {
        return Await([&] { return Channel()[name].asInt() == value; });
    }

    // Whether the condition comes true before the patience is at its end.
    static bool Await(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + kPatience;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) {
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return true;
    }

    const std::string socket_ = Path("qv_agent.sock");
    std::unique_ptr<ChildProcess> agent_;

  private:
    Pipe input_;
};

}  // namespace NS_TEST
