// The command line of the agent program.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace NS_REFERENCE_HOST {

// Which client of the logging service the agent adds to the configured bundles.
enum class Traffic {
    Auto,    // the input when there is any, else the sample
    Input,   // the lines of standard input
    Sample,  // the bundled sample
    None
};

// A value. The initial values apply to what the command line leaves out.
struct AgentOptions {
    std::string shareDirectory;  // empty: as the environment says
    Traffic traffic = Traffic::Auto;
    std::vector<std::string> lineFeedArguments;
    std::vector<std::string> sampleArguments;
    bool keepRunning = false;
    bool logProxy = true;
    bool summary = false;
    bool writeQueuesOnCrash = false;
};

// Reads the command line. Returns no value when it has printed the help or the version instead.
// Throws AgentError.
std::optional<AgentOptions> ReadCommandLine(int argc, char* argv[]);

}  // namespace NS_REFERENCE_HOST
