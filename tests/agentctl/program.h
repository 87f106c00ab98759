// A program that a test runs and listens to.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace NS_TEST {

// How a program ended and what it said. A value.
struct ProgramResult {
    int exitCode = -1;  // minus the signal's number when one ended it
    std::string output;
    std::string errors;
};

// A running program.
//
// Thread safety: one thread.
class Program {
  public:
    // `words`: the program's path and its arguments. `variables` are added to the environment.
    // Throws std::system_error.
    explicit Program(const std::vector<std::string>& words,
                     const std::map<std::string, std::string>& variables = {});

    // Kills it if it still runs.
    ~Program();

    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // Waits until `text` has appeared on standard output, `times` times; false when that ended
    // before.
    bool WaitForOutput(const std::string& text, int times = 1);

    // Reads its standard output no more: it gets told when it writes.
    void CloseOutput();

    void Signal(int number) const;

    // Reads to the end and waits for it.
    ProgramResult Wait();

  private:
    bool ReadOutput();

    pid_t id_ = -1;
    int output_ = -1;
    int errors_ = -1;  // an unnamed file
    ProgramResult result_;
};

// Runs a program to its end.
ProgramResult RunProgram(const std::vector<std::string>& words,
                         const std::map<std::string, std::string>& variables = {});

}  // namespace NS_TEST
