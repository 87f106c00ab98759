// The agent program.
#include <fcntl.h>

#include <cstdio>
#include <exception>

#include "agent/agent.h"
#include "agent/agenterror.h"

namespace {

// Puts the null device in the place of closed standard descriptors: whatever was opened next would
// get their numbers, and be read as the input or be written over by messages.
void FillStandardDescriptors() {
    for (const int descriptor : {0, 1, 2}) {
        if (fcntl(descriptor, F_GETFD) < 0) {
            // The lowest free number is the one that is filled.
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
