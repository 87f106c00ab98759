// An agent to be looked after.
#include "agentctl/liveagent.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <thread>

#include "agentctl/tasks.h"
#include "control/answer.h"
#include "support/files.h"

namespace NS_TEST {

LiveAgent::LiveAgent() {
    Configure("qv_schedule, qv_base_log, qv_control");
}

LiveAgent::~LiveAgent() {
    if (input_ >= 0) {
        close(input_);
    }
}

void LiveAgent::Configure(const std::string& bundles, const std::string& lines) const {
    WriteFile(Path("conf/corba_agent.cfg"),
              "logfilesize = 2000000000\nlogfilecount = 100\nqueuebuflength = 16384\n"
              "filterbuflength = 128\nlogtimeinterval = 1\nlogswitch = 1,1,1,1\noutputmode = 0\n"
              "bEnableAsnLog = 1\nbLogOutputPara = 0\nbEnableAsnTrace = 0\nbundles = " +
                  bundles + "\n" + lines);
}

void LiveAgent::Start(const std::vector<std::string>& options, ObeysPermissions obeysPermissions) {
    AgentStart start;
    start.obeysPermissions = obeysPermissions == ObeysPermissions::Yes;
    start.arguments = {"--share", Path()};
    start.arguments.insert(start.arguments.end(), options.begin(), options.end());
    start.outputPath = Path("output");
    agent_ = std::make_unique<AgentProcess>(start);
    ASSERT_TRUE(agent_->WaitForError("serving")) << agent_->GetErrors();
}

void LiveAgent::StartWithInput() {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    input_ = ends[1];
    AgentStart start;
    start.arguments = {"--share", Path(), "--traffic", "input"};
    start.outputPath = Path("output");
    start.input = ends[0];
    agent_ = std::make_unique<AgentProcess>(start);
    close(ends[0]);
    ASSERT_TRUE(agent_->WaitForError("serving")) << agent_->GetErrors();
}

void LiveAgent::Log(const std::string& line) const {
    const std::string text = line + "\n";
    ASSERT_EQ(write(input_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

int LiveAgent::Stop() {
    agent_->Signal(SIGTERM);
    return agent_->Wait();
}

ProgramResult LiveAgent::Control(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {QV_AGENTCTL, "--share", Path()});
    return RunProgram(arguments);
}

std::string LiveAgent::Succeed(const std::vector<std::string>& arguments) const {
    const ProgramResult result = Control(arguments);
    EXPECT_EQ(result.exitCode, 0) << ::testing::PrintToString(arguments);
    EXPECT_EQ(result.errors, "");
    return result.output;
}

Json::Value LiveAgent::Data(std::vector<std::string> arguments) const {
    arguments.emplace_back("--json");
    return NS_REFERENCE_HOST::ReadJsonObject(Succeed(arguments));
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

std::string LiveAgent::Logged(const std::string& category) const {
    const std::string prefix = "unbi_" + category + "_2";
    std::string text;
    for (const std::string& name : ListFiles(Path("log"))) {
        if (name.compare(0, prefix.size(), prefix) == 0) {
            text += ReadFile(Path("log/" + name));
        }
    }
    return text;
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
