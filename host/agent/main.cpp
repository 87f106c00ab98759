// The agent program.
#include <fcntl.h>

#include <cstdio>
#include <exception>

#include "agent/agent.h"
#include "agent/agenterror.h"

namespace {

// Opens the null device for standard descriptors that are closed. Otherwise the next files that are
// opened would get their numbers, and would be read as the input or receive messages.
void FillStandardDescriptors() {
    for (const int descriptor : {0, 1, 2}) {
        if (fcntl(descriptor, F_GETFD) < 0) {
            // open returns the lowest free number.
            static_cast<void>(!open("/dev/null", descriptor == 0 ? O_RDONLY : O_WRONLY));
        }
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    using namespace NS_REFERENCE_HOST;
    FillStandardDescriptors();
    try {
        const std::optional<AgentOptions> options = ReadCommandLine(argc, argv);
        return static_cast<int>(options ? Agent(*options).Run() : ExitCode::Done);
    } catch (const AgentError& error) {
        std::fprintf(stderr, "qv_agent: %s\n", error.what());
        return static_cast<int>(error.Code());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qv_agent: %s\n", error.what());
        return static_cast<int>(ExitCode::WorkFailed);
    }
}
