#include "table/program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

extern char** environ;

namespace NS_BENCH {

namespace {

// The place where a program's output and errors go; both are small.
class OutputFiles {
  public:
    OutputFiles() {
        std::string pattern = (std::filesystem::temp_directory_path() / "qvbench.XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), pattern);
        }
        directory_ = pattern;
    }
    ~OutputFiles() {
        std::error_code ignored;
        std::filesystem::remove_all(directory_, ignored);
    }

    OutputFiles(const OutputFiles&) = delete;
    OutputFiles& operator=(const OutputFiles&) = delete;

    std::string Output() const { return directory_ + "/output"; }
    std::string Errors() const { return directory_ + "/errors"; }

  private:
    std::string directory_;
};

class FileActions {
  public:
    explicit FileActions(const OutputFiles& files) {
        constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC;
        posix_spawn_file_actions_init(&actions_);
        posix_spawn_file_actions_addopen(&actions_, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions_, 1, files.Output().c_str(), kFlags, 0600);
        posix_spawn_file_actions_addopen(&actions_, 2, files.Errors().c_str(), kFlags, 0600);
    }
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }

    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    const posix_spawn_file_actions_t* Get() const { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_{};
};

bool RunAndWait(const std::string& path, std::vector<std::string> arguments,
                const OutputFiles& files) {
    arguments.insert(arguments.begin(), path);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    const FileActions actions(files);
    pid_t child = -1;
    const int error =
        posix_spawn(&child, path.c_str(), actions.Get(), nullptr, pointers.data(), environ);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), path);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::string Contents(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

}  // namespace

Metrics RunProgram(const std::string& path, const std::vector<std::string>& arguments) {
    const OutputFiles files;
    if (!RunAndWait(path, arguments, files)) {
        throw std::runtime_error(path + " failed: " + Contents(files.Errors()));
    }
    std::ifstream output(files.Output());
    Metrics metrics;
    std::string name;
    double value = 0;
    while (output >> name >> value) {
        metrics[name] = value;
    }
    if (metrics.empty()) {
        throw std::runtime_error(path + " has printed no metrics");
    }
    return metrics;
}

}  // namespace NS_BENCH
