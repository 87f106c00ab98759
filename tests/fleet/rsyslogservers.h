// An rsyslog that sends a host's log files, and one that puts them into a store.
#pragma once

#include <csignal>
#include <stdexcept>
#include <string>

#include "support/childprocess.h"
#include "support/files.h"

namespace NS_TEST {

class RsyslogServers {
  public:
    // Both are started. `store` is the owner's URL, `logs` the directory of the files of host1.
    RsyslogServers(const std::string& directory, const std::string& store, const std::string& logs)
        : directory_(directory) {
        Do("qv_make_rsyslog \"$1\" '" + store + "' host1 '" + logs + "'");
    }
    ~RsyslogServers() { RunScript("qv_stop_rsyslog \"$1\""); }

    RsyslogServers(const RsyslogServers&) = delete;
    RsyslogServers& operator=(const RsyslogServers&) = delete;

    // `kind` is "sender" or "receiver".
    void Kill(const std::string& kind) const { Do("qv_kill_rsyslog \"$1\" " + kind); }
    void Start(const std::string& kind) const { Do("qv_start_rsyslog \"$1\" " + kind); }
    // It does nothing from now on, and its connections stay.
    void Pause(const std::string& kind) const { ::kill(Process(kind), SIGSTOP); }
    pid_t Process(const std::string& kind) const {
        return std::stoi(ReadFile(directory_ + "/" + kind + ".pid"));
    }

  private:
    ChildResult RunScript(const std::string& command) const {
        const std::string local = std::string(QV_FLEET) + "/local/";
        return RunProgram(
            {{"bash", "-c",
              "set -e; source \"$0/postgres.sh\"; source \"$0/rsyslog.sh\"; " + command, local,
              directory_}});
    }

    void Do(const std::string& command) const {
        const ChildResult result = RunScript(command);
        if (result.exitCode != 0) {
            throw std::runtime_error(command + ": " + result.errors + result.output);
        }
    }

    const std::string directory_;
};

}  // namespace NS_TEST
