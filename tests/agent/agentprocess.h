// The agent program as a process of its own, started by a test.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace NS_TEST {

// What an agent is started with. A value.
struct AgentStart {
    std::vector<std::string> arguments;
    std::map<std::string, std::string> environment;  // added to the test's own
    int input = -1;                                  // its standard input; -1: the null device
    bool closeInput = false;                         // no standard input at all
    std::string outputPath;                          // the file that gets its standard output
    bool obeysPermissions = false;                   // of files, even if the test runs as root
};

// Thread safety: one thread.
class AgentProcess {
  public:
    // `start.input` stays the caller's. Throws std::system_error.
    explicit AgentProcess(const AgentStart& start);

    // Kills it if it still runs.
    ~AgentProcess();

    AgentProcess(const AgentProcess&) = delete;
    AgentProcess& operator=(const AgentProcess&) = delete;

    // Waits until `text` has appeared so many times on standard error; false when that ended
    // before.
    bool WaitForError(const std::string& text, int times = 1);

    // Sends a signal.
    void Signal(int number) const;

    // Waits for the end. The exit code, or minus the number of the signal that ended it.
    int Wait();

    pid_t GetId() const { return id_; }

    // What it has written on standard error so far; after Wait: all of it.
    const std::string& GetErrors() const { return errors_; }

  private:
    // False at the end.
    bool ReadErrors();

    pid_t id_ = -1;
    int errorDescriptor_ = -1;
    std::string errors_;
};

}  // namespace NS_TEST
