// A program that a test runs, listens to and ends.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "support/pipe.h"

namespace NS_TEST {

// What a program is started with. A value.
struct ChildStart {
    std::vector<std::string> words;  // the program, searched for in PATH, and its arguments
    std::map<std::string, std::string> variables = {};  // added to the test's own environment
    int input = -1;                                     // its standard input; -1: the null device
    bool closeInput = false;                            // no standard input at all
};

// A word as it stands in a command of a shell: what is built may lie in a directory with spaces.
inline std::string QuoteForShell(const std::string& word) {
    std::string quoted = "'";
    for (const char character : word) {
        quoted += character == '\'' ? std::string("'\\''") : std::string(1, character);
    }
    return quoted + "'";
}

// What starts a command on a terminal of its own, by script(1). That would take the user's own
// shell, which need not understand the command.
inline std::vector<std::string> OnTerminal(const std::string& command) {
    return {"env", "SHELL=/bin/sh", "script", "-qefc", command, "/dev/null"};
}

// How a program ended and what it said. A value.
struct ChildResult {
    int exitCode = -1;  // minus the signal's number when one ended it
    std::string output;
    std::string errors;
    int64_t peakMemory = 0;  // bytes; at least what this process had when it started the program
};

// A running program. Its waits have no limit of their own: the time limit of the test ends one that
// waits in vain.
//
// Thread safety: one thread for each object; any number of threads may start programs.
class ChildProcess {
  public:
    // `start.input` stays the caller's. Throws std::system_error when it cannot be started.
    explicit ChildProcess(const ChildStart& start);

    // Kills it if it still runs.
    ~ChildProcess();

    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Waits until `text` has appeared `times` times on standard output or standard error; false
    // when both have ended before. Nobody reads either of them between two waits.
    bool WaitForOutput(const std::string& text, int times = 1) {
        return WaitFor(text, times, result_.output);
    }
    bool WaitForError(const std::string& text, int times = 1) {
        return WaitFor(text, times, result_.errors);
    }

    // Reads its standard output no more: the program is told when it writes.
    void CloseOutput() { output_.CloseReader(); }

    void Signal(int number) const;

    // Reads to the end and waits for it. The result is whole now.
    const ChildResult& Wait();

    pid_t GetId() const { return id_; }

    // What it has written on standard error so far.
    const std::string& GetErrors() const { return result_.errors; }

  private:
    bool WaitFor(const std::string& text, int times, const std::string& where);

    // Waits for more on either of them; false at the end of both.
    bool ReadMore();

    Pipe output_;
    Pipe errors_;
    pid_t id_ = -1;  // started with the pipes, so it comes after them
    ChildResult result_;
};

// Runs a program to its end.
ChildResult RunProgram(const ChildStart& start);

// How often `part` stands in the text, without overlaps.
int CountIn(const std::string& text, const std::string& part);

}  // namespace NS_TEST
