// The program as it follows log files that are being written.
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "reader/programfixture.h"
#include "support/forkedchild.h"

namespace NS_TEST {

// A process that writes logs, and whose end can be asked for.
class Writer {
  public:
    Writer() : process_(ForkChild(kNoTimeLimit)) {
        if (process_ == 0) {
            for (;;) {
                ::pause();
            }
        }
    }
    ~Writer() { End(); }

    void End() {
        if (process_ > 0) {
            ::kill(process_, SIGKILL);
            ::waitpid(process_, nullptr, 0);
            process_ = -1;
        }
    }

    int Number() const { return process_; }

  private:
    pid_t process_;
};

// The program while it follows a directory, with the first log file of a process that lives.
class FollowProgram : public ReaderProgram {
  protected:
    void Append(const std::string& name, const std::string& text) {
        std::ofstream(Path(name), std::ios::binary | std::ios::app) << text;
    }

    static std::string Frame(uint32_t number, const std::string& detail) {
        return LogFrame(number, Fields(static_cast<int>(number), detail));
    }

    // Follows from here on, with the details alone.
    std::unique_ptr<ChildProcess> Start(std::vector<std::string> words = {}) {
        words.insert(words.begin(), {QVLOG, "-f", "--fields", "detail"});
        words.push_back(Path());
        return std::make_unique<ChildProcess>(ChildStart{words});
    }

    // Has the program look at all files twice: the first look may have begun before.
    void AwaitLook(ChildProcess& program) {
        for (int i = 0; i < 2; ++i) {
            const std::string mark = "mark" + std::to_string(++marks_);
            Append(first_, Frame(static_cast<uint32_t>(marks_), mark));
            ASSERT_TRUE(program.WaitForOutput(mark + "\n")) << program.GetErrors();
        }
    }

    // Whether the program has a file open that has this name or had it.
    bool IsHeld(const ChildProcess& program, const std::string& name) const {
        const std::string open = "/proc/" + std::to_string(program.GetId()) + "/fd";
        for (const auto& entry : std::filesystem::directory_iterator(open)) {
            std::error_code gone;
            const std::string file = std::filesystem::read_symlink(entry.path(), gone).string();
            if (file.find(name) != std::string::npos) {
                return true;
            }
        }
        return false;
    }

    void SetAge(const std::string& name, std::chrono::hours age) {
        std::filesystem::last_write_time(Path(name),
                                         std::filesystem::file_time_type::clock::now() - age);
    }

    // No process has this number.
    static constexpr int kEnded = 2147483646;

    int marks_ = 0;
    Writer writer_;
    std::string first_ = LogName("oper", 1, writer_.Number());
};

}  // namespace NS_TEST
