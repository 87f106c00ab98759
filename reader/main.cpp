// The reader of the log files.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <initializer_list>
#include <optional>

#include "command/commands.h"
#include "command/options.h"

namespace {

using namespace NS_LOG_READER;

// What is closed of standard input, output and error would be the number of the next file that is
// opened, and receive what is meant for it. Output that goes nowhere is an error.
void FillStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        struct stat status {};
        if (::fstat(descriptor, &status) != 0 && errno == EBADF) {
            const char* const device = descriptor == STDOUT_FILENO ? "/dev/full" : "/dev/null";
            // open returns the lowest free number.
            static_cast<void>(!::open(device, descriptor == STDIN_FILENO ? O_RDONLY : O_WRONLY));
        }
    }
}

// Reading backwards keeps a file of each series open.
void AllowManyFiles() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

ExitCode Run(const Options& options) {
    switch (options.command) {
        case Command::Show:
            return options.follow ? RunFollow(options) : RunShow(options);
        case Command::Verify:
            return RunVerify(options);
        case Command::Stats:
            return RunStats(options);
        case Command::Report:
            return RunReport(options);
        case Command::Prune:
            return RunPrune(options);
        case Command::Export:
            return RunExport(options);
        case Command::Added:
            return static_cast<ExitCode>(options.run(options));
    }
    return ExitCode::Trouble;
}

}  // namespace

int main(int argc, char* argv[]) {
    FillStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN);
    // Somebody may open a file for writing just when its lease is asked for.
    std::signal(SIGIO, SIG_IGN);
    AllowManyFiles();
    try {
        const std::optional<Options> options = ReadCommandLine(argc, argv);
        return static_cast<int>(options ? Run(*options) : ExitCode::Found);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qvlog: %s\n", error.what());
        return static_cast<int>(ExitCode::Trouble);
    }
}
