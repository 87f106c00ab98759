// What the agent's tests have in common.
#include "agent/agentfixture.h"

#include <fcntl.h>
#include <unistd.h>

#include <iterator>
#include <utility>

#include "support/files.h"

namespace NS_TEST {

const std::vector<std::string> kCategories = {
    "debug",    "corbadebug", "corbanotify",        "corba_alarm",
    "corbasys", "corbaoper",  "corba_internal_oper"};

AgentTest::AgentTest() {
    Configure("bundles = qv_base_log\n");
}

void AgentTest::Configure(const std::string& text) const {
    WriteConfiguration(
        "logfilesize = 2000000000\nlogfilecount = 100\nqueuebuflength = 16384\n"
        "filterbuflength = 128\nlogtimeinterval = 1\nlogswitch = 1,1,1,1\noutputmode = 0\n"
        "bEnableAsnLog = 1\nbLogOutputPara = 0\nbEnableAsnTrace = 0\n" +
        text);
}

void AgentTest::WriteConfiguration(const std::string& text) const {
    WriteFile(Path("conf/corba_agent.cfg"), text);
}

std::string AgentTest::Entry(const std::string& name) {
    return name + "=" + QV_TEST_BUNDLES + "/libqv_test_" + name + ".so";
}

ChildStart AgentTest::Agent(const std::vector<std::string>& arguments) const {
    ChildStart start{{QV_AGENT, "--share", Path()}};
    start.words.insert(start.words.end(), arguments.begin(), arguments.end());
    return start;
}

ChildResult AgentTest::Run(const std::vector<std::string>& arguments) const {
    return RunProgram(Agent(arguments));
}

ChildResult AgentTest::RunWith(const std::string& input,
                               const std::vector<std::string>& arguments) const {
    WriteFile(Path("input"), input);
    ChildStart start = Agent(arguments);
    start.input = open(Path("input").c_str(), O_RDONLY | O_CLOEXEC);
    ChildResult result = RunProgram(start);
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

std::string AgentTest::Logged(const std::string& category) const {
    std::string text;
    for (const std::string& path : LogFiles(category)) {
        text += ReadFile(path);
    }
    return text;
}

std::vector<ParsedPiece> AgentTest::Records(const std::string& category) const {
    std::vector<ParsedPiece> records;
    for (const std::string& path : LogFiles(category)) {
        std::vector<ParsedPiece> more = ParseClosedLogFile(path);
        std::move(more.begin(), more.end(), std::back_inserter(records));
    }
    return records;
}

std::vector<std::string> AgentTest::Details(const std::string& category) const {
    std::vector<std::string> details;
    for (const ParsedPiece& piece : Records(category)) {
        details.push_back(piece.record.detail);
    }
    return details;
}

}  // namespace NS_TEST
