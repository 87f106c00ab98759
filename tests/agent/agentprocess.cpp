// The agent program as a process of its own.
#include "agentprocess.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace NS_TEST {

namespace {

[[noreturn]] void FailLaunch(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

int OpenFor(const std::string& path, int flags) {
    const int descriptor = open(path.c_str(), flags | O_CLOEXEC, 0600);
    if (descriptor < 0) {
        FailLaunch(path.c_str());
    }
    return descriptor;
}

// Gives up what lets root read and search everything. The bounding set is what counts at execv.
void ObeyPermissions() {
    if (geteuid() == 0 && (prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0) != 0 ||
                           prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0) != 0)) {
        _exit(126);
    }
}

// Runs in the child.
[[noreturn]] void Execute(const AgentStart& start, int input, int output, int error) {
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(error, STDERR_FILENO);
    if (start.closeInput) {
        close(STDIN_FILENO);
    }
    for (const auto& [name, value] : start.environment) {
        setenv(name.c_str(), value.c_str(), 1);
    }
    if (start.obeysPermissions) {
        ObeyPermissions();
    }
    std::vector<std::string> words{QV_AGENT};
    words.insert(words.end(), start.arguments.begin(), start.arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    execv(QV_AGENT, pointers.data());
    _exit(127);
}

}  // namespace

AgentProcess::AgentProcess(const AgentStart& start) {
    int errors[2];
    if (pipe2(errors, O_CLOEXEC) != 0) {
        FailLaunch("pipe2");
    }
    const int input = start.input >= 0 ? dup(start.input) : OpenFor("/dev/null", O_RDONLY);
    const int output = OpenFor(start.outputPath, O_WRONLY | O_CREAT | O_TRUNC);
    id_ = fork();
    if (id_ == 0) {
        Execute(start, input, output, errors[1]);
    }
    close(input);
    close(output);
    close(errors[1]);
    errorDescriptor_ = errors[0];
    if (id_ < 0) {
        close(errorDescriptor_);
        FailLaunch("fork");
    }
}

AgentProcess::~AgentProcess() {
    if (id_ > 0) {
        kill(id_, SIGKILL);
        waitpid(id_, nullptr, 0);
    }
    close(errorDescriptor_);
}

bool AgentProcess::ReadErrors() {
    char chunk[4096];
    const ssize_t length = read(errorDescriptor_, chunk, sizeof(chunk));
    if (length > 0) {
        errors_.append(chunk, static_cast<size_t>(length));
    }
    return length > 0 || (length < 0 && errno == EINTR);
}

bool AgentProcess::WaitForError(const std::string& text, int times) {
    size_t begin = 0;  // behind the last appearance
    for (int found = 0; found < times;) {
        const size_t place = errors_.find(text, begin);
        if (place != std::string::npos) {
            begin = place + text.size();
            ++found;
        } else if (!ReadErrors()) {
            return false;
        }
    }
    return true;
}

void AgentProcess::Signal(int number) const {
    kill(id_, number);
}

int AgentProcess::Wait() {
    while (ReadErrors()) {
    }
    int status = 0;
    while (waitpid(id_, &status, 0) < 0) {
        if (errno != EINTR) {
            FailLaunch("waitpid");
        }
    }
    id_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace NS_TEST
