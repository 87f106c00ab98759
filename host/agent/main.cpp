// The agent program.
#include <cstdio>

#include "agent/agent.h"
#include "agent/agenterror.h"
#include "common/describeexception.h"
#include "process/standarddescriptors.h"

int main(int argc, char* argv[]) {
    using namespace NS_REFERENCE_HOST;
    FillStandardDescriptors("/dev/null");
    try {
        const std::optional<AgentOptions> options = ReadCommandLine(argc, argv);
        return static_cast<int>(options ? Agent(*options).Run() : ExitCode::Done);
    } catch (const AgentError& error) {
        std::fprintf(stderr, "qv_agent: %s\n", error.what());
        return static_cast<int>(error.Code());
    } catch (...) {
        std::fprintf(stderr, "qv_agent: %s\n", ExceptionText());
        return static_cast<int>(ExitCode::WorkFailed);
    }
}
