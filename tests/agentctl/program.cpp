// A program that a test runs and listens to.
#include "agentctl/program.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace NS_TEST {

namespace {

[[noreturn]] void Fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// Runs in the child.
[[noreturn]] void Execute(std::vector<std::string> words,
                          const std::map<std::string, std::string>& variables, int output,
                          int errors) {
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    for (const auto& [name, value] : variables) {
        setenv(name.c_str(), value.c_str(), 1);
    }
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    execvp(pointers.front(), pointers.data());
    _exit(127);
}

int Count(const std::string& text, const std::string& part) {
    int count = 0;
    for (auto found = text.find(part); found != std::string::npos;
         found = text.find(part, found + part.size())) {
        ++count;
    }
    return count;
}

}  // namespace

Program::Program(const std::vector<std::string>& words,
                 const std::map<std::string, std::string>& variables) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        Fail("pipe2");
    }
    output_ = ends[0];
    errors_ = memfd_create("errors", MFD_CLOEXEC);
    id_ = fork();
    if (id_ == 0) {
        Execute(words, variables, ends[1], errors_);
    }
    close(ends[1]);
    if (id_ < 0) {
        Fail("fork");
    }
}

Program::~Program() {
    if (id_ > 0) {
        kill(id_, SIGKILL);
        waitpid(id_, nullptr, 0);
    }
    CloseOutput();
    close(errors_);
}

bool Program::ReadOutput() {
    char chunk[65536];
    const ssize_t length = output_ < 0 ? 0 : read(output_, chunk, sizeof(chunk));
    if (length > 0) {
        result_.output.append(chunk, static_cast<std::string::size_type>(length));
    }
    return length > 0 || (length < 0 && errno == EINTR);
}

bool Program::WaitForOutput(const std::string& text, int times) {
    while (Count(result_.output, text) < times) {
        if (!ReadOutput()) {
            return false;
        }
    }
    return true;
}

void Program::CloseOutput() {
    if (output_ >= 0) {
        close(output_);
        output_ = -1;
    }
}

void Program::Signal(int number) const {
    kill(id_, number);
}

ProgramResult Program::Wait() {
    while (ReadOutput()) {
    }
    int status = 0;
    while (waitpid(id_, &status, 0) < 0) {
        if (errno != EINTR) {
            Fail("waitpid");
        }
    }
    id_ = -1;
    result_.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    char chunk[65536];
    const ssize_t length = pread(errors_, chunk, sizeof(chunk), 0);
    result_.errors.assign(chunk, length > 0 ? static_cast<std::string::size_type>(length) : 0);
    return result_;
}

ProgramResult RunProgram(const std::vector<std::string>& words,
                         const std::map<std::string, std::string>& variables) {
    return Program(words, variables).Wait();
}

}  // namespace NS_TEST
