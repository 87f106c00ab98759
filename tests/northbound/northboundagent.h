// A northbound agent and clients that call it.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "agent/agentfixture.h"

namespace NS_TEST {

// What a client of the load tells of one of its calls.
struct ReportedCall {
    std::string operation;  // its identifier; empty where the client does not know it
    std::string interfaceName;
    std::string user;
    std::string failure;  // empty: none
};

// What the log shows of one operation, in the category of operations.
struct LoggedOperation {
    std::string context;
    int begins = 0;
    int ends = 0;
    int failures = 0;  // records of level 0
    std::string lastText;
    std::string failureText;
    std::vector<std::string> history;  // its own details, in whatever dump they stand
};

class NorthboundAgent : public AgentTest {
  protected:
    // Starts an agent and waits until it serves. `arguments` are the bundle's, `items` lines of the
    // configuration. A dump holds all that a test logs, so that no history is lost.
    void Start(const std::string& arguments = "", const std::string& items = "");

    // Asks the agent for its end; its exit code.
    int Stop();

    // The client program with these arguments, and its result.
    ChildStart Client(const std::vector<std::string>& arguments) const;
    ChildResult Call(const std::vector<std::string>& arguments) const;

    // Runs clients with these options to their end; what they report. Each of them must succeed.
    std::vector<ReportedCall> Load(std::vector<std::string> arguments) const;
    std::vector<ReportedCall> ReportedCalls() const;
    std::string ReportPath() const { return Path("report"); }

    // The control program.
    ChildResult Control(const std::vector<std::string>& arguments) const;

    // All operations that the log shows, by identifier. REQUIRES: the agent has stopped.
    std::map<std::string, LoggedOperation> LoggedOperations() const;

    // Whether `text` comes to stand in the category's files.
    bool AwaitLogged(const std::string& category, const std::string& text) const;

    std::unique_ptr<ChildProcess> agent_;
};

// Whether the log shows these calls, each with a begin, an end and its context, and no other call.
void ExpectAllLogged(const std::vector<ReportedCall>& calls,
                     const std::map<std::string, LoggedOperation>& logged);

}  // namespace NS_TEST
