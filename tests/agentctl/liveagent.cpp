// An agent to be looked after.
#include "agentctl/liveagent.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <thread>

#include "agentctl/tasks.h"
#include "control/answer.h"

namespace NS_TEST {

LiveAgent::LiveAgent() {
    Configure("bundles = qv_schedule, qv_base_log, qv_control\n");
}

void LiveAgent::StartAs(const ChildStart& start) {
    agent_ = std::make_unique<ChildProcess>(start);
    ASSERT_TRUE(agent_->WaitForError("serving")) << agent_->GetErrors();
}

void LiveAgent::Start(const std::vector<std::string>& options, ObeysPermissions obeysPermissions) {
    ChildStart start = Agent(options);
    start.obeysPermissions = obeysPermissions == ObeysPermissions::Yes;
    StartAs(start);
}

void LiveAgent::StartWithInput() {
    ChildStart start = Agent({"--traffic", "input"});
    start.input = input_.Reader();
    StartAs(start);
}

void LiveAgent::Log(const std::string& line) const {
    input_.Write(line + "\n");
}

int LiveAgent::Stop() {
    agent_->Signal(SIGTERM);
    return agent_->Wait().exitCode;
}

ChildStart LiveAgent::Operator(const std::vector<std::string>& arguments) const {
    ChildStart start{
        {QV_AGENTCTL, "--share", Path(), "--timeout", std::to_string(kPatience.count())}};
    start.words.insert(start.words.end(), arguments.begin(), arguments.end());
    return start;
}

ChildResult LiveAgent::Control(const std::vector<std::string>& arguments) const {
    return RunProgram(Operator(arguments));
}

std::string LiveAgent::Succeed(const std::vector<std::string>& arguments) const {
    const ChildResult result = Control(arguments);
    EXPECT_EQ(result.exitCode, 0) << ::testing::PrintToString(arguments);
    EXPECT_EQ(result.errors, "");
    return result.output;
}

Json::Value LiveAgent::Data(std::vector<std::string> arguments) const {
    arguments.emplace_back("--json");
    return NS_REFERENCE_HOST::ReadJsonObject(Succeed(arguments));
}

std::string LiveAgent::Refusal(const std::vector<std::string>& arguments) const {
    const ChildResult result = Control(arguments);
    EXPECT_EQ(result.exitCode, 1) << ::testing::PrintToString(arguments);
    return result.errors;
}

Json::Value LiveAgent::Channel(const std::string& category) const {
    const Json::Value channels = Data({"status"})["channels"];
    for (const Json::Value& channel : channels) {
        if (channel["category"].asString() == category) {
            return channel;
        }
    }
    ADD_FAILURE() << "no channel " << category;
    return Json::Value();
}

bool LiveAgent::AwaitCount(const std::string& name, int value) const {
    return Await([&] { return Channel("corbaoper")[name].asInt() == value; });
}

bool LiveAgent::Await(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

}  // namespace NS_TEST
