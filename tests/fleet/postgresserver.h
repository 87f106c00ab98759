// A PostgreSQL server of a test.
#pragma once

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "support/childprocess.h"
#include "support/files.h"

namespace NS_TEST {

// With a database that has the fleet's tables. It does not wait for the disk: a kill leaves what
// the system has taken.
class PostgresServer {
  public:
    // Below `directory`, whose parents the server's user must be able to pass.
    explicit PostgresServer(const std::string& directory) : directory_(directory) {
        Do("qv_make_postgres");
        url_ = SplitText(ReadFile(directory_ + "/url")).front();
        const ChildResult made = RunProgram({{QVLOG, "collect", "--migrate", "--to", url_}});
        if (made.exitCode != 0) {
            throw std::runtime_error(made.errors);
        }
    }
    ~PostgresServer() { RunScript("qv_stop_postgres"); }

    PostgresServer(const PostgresServer&) = delete;
    PostgresServer& operator=(const PostgresServer&) = delete;

    const std::string& Url() const { return url_; }

    void Kill() { Do("qv_kill_postgres"); }
    // Unless it has ended by itself.
    void KillIfThere() { RunScript("qv_kill_postgres"); }
    void Stop() { Do("qv_stop_postgres"); }
    void Start() { Do("qv_start_postgres"); }

  private:
    ChildResult RunScript(const std::string& function) const {
        return RunProgram({{"bash", "-c", "set -e; source \"$0\"; " + function + " \"$1\"",
                            std::string(QV_FLEET) + "/local/postgres.sh", directory_},
                           {{"QV_POSTGRES_SETTINGS", "fsync = off"}}});
    }

    void Do(const std::string& function) const {
        const ChildResult result = RunScript(function);
        if (result.exitCode != 0) {
            throw std::runtime_error(function + ": " + result.errors + result.output);
        }
    }

    const std::string directory_;
    std::string url_;
};

}  // namespace NS_TEST
