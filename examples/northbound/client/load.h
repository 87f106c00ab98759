// Many clients at work.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "client/agentconnection.h"
#include "client/options.h"

namespace NS_NORTHBOUND {

// One call and what became of it.
struct CallReport {
    std::string operation;  // its identifier; empty where the client does not know it
    std::string interfaceName;
    std::string user;
    std::string failure;  // empty: none
};

struct LoadResult {
    std::vector<CallReport> calls;             // those of a client in their order
    std::map<std::string, unsigned int> lost;  // clients without an agent, by exception
    std::chrono::duration<double> time{0};     // from the first call to the last
    uint64_t changes = 0;                      // that subscribers were told of
};

// Runs the clients to their end, each on a thread and in a session of its own. What they call is
// the same in every run; which calls fail is chosen beforehand, by objects that do not exist or do
// not answer.
LoadResult RunLoad(AgentConnection& connection, const ClientOptions& options);

// Prints the result in a few lines, and each call into `options.report`. Throws std::runtime_error
// when the file cannot be written.
void PrintLoad(const LoadResult& result, const ClientOptions& options);

}  // namespace NS_NORTHBOUND
