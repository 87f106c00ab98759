// A program that a test runs, listens to and ends.
//
// It is spawned, not forked. Between fork and exec the child of a process with many threads may not
// even allocate, because another thread may have held the allocator's lock at the fork.
#include "support/childprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace NS_TEST {

namespace {

[[noreturn]] void FailLaunch(int error, const std::string& what) {
    throw std::system_error(error, std::generic_category(), what);
}

// The pointers that an exec takes; they point into `texts`.
std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// What the child does with its descriptors.
class FileActions {
  public:
    FileActions(const ChildStart& start, int output, int errors) {
        posix_spawn_file_actions_init(&actions_);
        if (start.closeInput) {
            posix_spawn_file_actions_addclose(&actions_, STDIN_FILENO);
        } else if (start.input >= 0) {
            posix_spawn_file_actions_adddup2(&actions_, start.input, STDIN_FILENO);
        } else {
            posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        }
        posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions_, errors, STDERR_FILENO);
    }
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }

    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    const posix_spawn_file_actions_t* Get() const { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_;
};

// The child's number.
pid_t Spawn(const ChildStart& start, int output, int errors) {
    std::vector<std::string> words = start.words;
    for (const auto& [name, value] : start.variables) {
        words.insert(words.begin(), name + "=" + value);
    }
    if (!start.variables.empty()) {
        words.insert(words.begin(), "env");
    }
    const FileActions actions(start, output, errors);
    pid_t child = -1;
    const int error = posix_spawnp(&child, words.at(0).c_str(), actions.Get(), nullptr,
                                   Pointers(words).data(), environ);
    if (error != 0) {
        FailLaunch(error, words.at(0));
    }
    return child;
}

}  // namespace

ChildProcess::ChildProcess(const ChildStart& start)
    : id_(Spawn(start, output_.Writer(), errors_.Writer())) {
    output_.CloseWriter();
    errors_.CloseWriter();
}

ChildProcess::~ChildProcess() {
    if (id_ > 0) {
        kill(id_, SIGKILL);
        waitpid(id_, nullptr, 0);
    }
}

bool ChildProcess::ReadMore() {
    pollfd entries[] = {{output_.Reader(), POLLIN, 0}, {errors_.Reader(), POLLIN, 0}};
    if (entries[0].fd < 0 && entries[1].fd < 0) {
        return false;
    }
    if (poll(entries, 2, -1) < 0) {
        return errno == EINTR;
    }
    if (entries[0].revents != 0) {
        output_.ReadTo(result_.output);
    }
    if (entries[1].revents != 0) {
        errors_.ReadTo(result_.errors);
    }
    return true;
}

bool ChildProcess::WaitFor(const std::string& text, int times, const std::string& where) {
    while (CountIn(where, text) < times) {
        if (!ReadMore()) {
            return false;
        }
    }
    return true;
}

void ChildProcess::Signal(int number) const {
    kill(id_, number);
}

const ChildResult& ChildProcess::Wait() {
    while (ReadMore()) {
    }
    int status = 0;
    rusage usage{};
    while (wait4(id_, &status, 0, &usage) < 0) {
        if (errno != EINTR) {
            FailLaunch(errno, "wait4");
        }
    }
    id_ = -1;
    result_.peakMemory = int64_t{usage.ru_maxrss} * 1024;
    result_.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return result_;
}

ChildResult RunProgram(const ChildStart& start) {
    return ChildProcess(start).Wait();
}

int CountIn(const std::string& text, const std::string& part) {
    int count = 0;
    for (auto found = text.find(part); found != std::string::npos;
         found = text.find(part, found + part.size())) {
        ++count;
    }
    return count;
}

}  // namespace NS_TEST
