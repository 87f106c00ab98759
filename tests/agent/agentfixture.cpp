// What the agent's tests have in common.
#include "agentfixture.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>
#include <utility>

#include "support/files.h"

namespace NS_TEST {

namespace {

const std::string kItems =
    "logfilesize = 2000000000\nlogfilecount = 100\nqueuebuflength = 16384\n"
    "filterbuflength = 128\nlogtimeinterval = 1\nlogswitch = 1,1,1,1\noutputmode = 0\n"
    "bEnableAsnLog = 1\nbLogOutputPara = 0\nbEnableAsnTrace = 0\n";

}  // namespace

AgentTest::AgentTest() {
    Configure("bundles = qv_base_log\n");
}

void AgentTest::Configure(const std::string& text) {
    WriteConfiguration(kItems + text);
}

void AgentTest::WriteConfiguration(const std::string& text) const {
    WriteFile(Path("conf/corba_agent.cfg"), text);
}

std::string AgentTest::Entry(const std::string& name) {
    return name + "=" + QV_TEST_BUNDLES + "/libqv_test_" + name + ".so";
}

AgentStart AgentTest::Start(const std::vector<std::string>& arguments) const {
    AgentStart start;
    start.arguments = {"--share", Path()};
    start.arguments.insert(start.arguments.end(), arguments.begin(), arguments.end());
    start.environment["QV_TEST_EVENTS"] = Path("events");
    start.outputPath = OutputPath();
    return start;
}

AgentResult AgentTest::RunAs(const AgentStart& start) {
    AgentProcess agent(start);
    AgentResult result;
    result.exitCode = agent.Wait();
    result.errors = agent.GetErrors();
    result.output = ReadFile(start.outputPath);
    return result;
}

AgentResult AgentTest::Run(const std::vector<std::string>& arguments) {
    return RunAs(Start(arguments));
}

AgentResult AgentTest::RunWith(const std::string& input,
                               const std::vector<std::string>& arguments) {
    WriteFile(Path("input"), input);
    AgentStart start = Start(arguments);
    start.input = open(Path("input").c_str(), O_RDONLY | O_CLOEXEC);
    const AgentResult result = RunAs(start);
    close(start.input);
    return result;
}

std::vector<std::string> AgentTest::LogFiles(const std::string& category) const {
    std::vector<std::string> paths;
    for (const std::string& name : ListLogFiles(Path("log"), category)) {
        paths.push_back(Path("log/" + name));
    }
    return paths;
}

std::vector<ParsedPiece> AgentTest::Records(const std::string& category) const {
    std::vector<ParsedPiece> records;
    for (const std::string& path : LogFiles(category)) {
        std::vector<ParsedPiece> more = ParseClosedLogFile(path);
        std::move(more.begin(), more.end(), std::back_inserter(records));
    }
    return records;
}

std::vector<std::string> AgentTest::Events() const {
    return std::filesystem::exists(Path("events")) ? ReadLines(Path("events"))
                                                   : std::vector<std::string>();
}

}  // namespace NS_TEST
