// What the agent's tests have in common: a share directory, a configuration, a way to run.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/childprocess.h"
#include "support/files.h"
#include "support/logfileparser.h"
#include "support/temporarydirectory.h"

namespace NS_TEST {

// The names of all log categories.
inline const std::vector<std::string> kCategories = {
    "debug",    "corbadebug", "corbanotify",        "corba_alarm",
    "corbasys", "corbaoper",  "corba_internal_oper"};

// Each test has a share directory of its own with a configuration that lists the logging service.
class AgentTest : public DirectoryTest {
  protected:
    AgentTest() { Configure("bundles = qv_base_log\n"); }

    // Replaces the configuration by the items that every test needs and `text`.
    void Configure(const std::string& text) const {
        WriteConfiguration(
            "logfilesize = 2000000000\nlogfilecount = 100\nqueuebuflength = 16384\n"
            "filterbuflength = 128\nlogtimeinterval = 1\nlogswitch = 1,1,1,1\noutputmode = 0\n"
            "bEnableAsnLog = 1\nbLogOutputPara = 0\nbEnableAsnTrace = 0\n" +
            text);
    }

    // Replaces the configuration by `text` alone.
    void WriteConfiguration(const std::string& text) const { WriteFile(configFile_, text); }

    // The entry of the configuration's bundle list for a bundle of these tests.
    static std::string Entry(const std::string& name) {
        return name + "=" + QV_TEST_BUNDLES + "/libqv_test_" + name + ".so";
    }

    // An agent that uses the share directory. Without an input it serves until a signal, unless an
    // argument says otherwise.
    ChildStart Agent(const std::vector<std::string>& arguments, int input = -1) const {
        ChildStart start{{QV_AGENT, "--share", Path()}};
        start.words.insert(start.words.end(), arguments.begin(), arguments.end());
        start.input = input;
        return start;
    }

    // The same as a user to whom permissions apply: root loses the power to go beyond them.
    ChildStart PlainAgent(const std::vector<std::string>& arguments) const {
        ChildStart start = Agent(arguments);
        if (geteuid() == 0) {
            start.words.insert(start.words.begin(),
                               {"setpriv", "--bounding-set=-dac_override,-dac_read_search"});
        }
        return start;
    }

    // Runs an agent to its end; without an input or with one of `input`.
    ChildResult Run(const std::vector<std::string>& arguments) const {
        return RunProgram(Agent(arguments));
    }
    ChildResult RunWith(const std::string& input, const std::vector<std::string>& arguments) const {
        WriteFile(Path("input"), input);
        const int file = open(Path("input").c_str(), O_RDONLY | O_CLOEXEC);
        ChildResult result = RunProgram(Agent(arguments, file));
        close(file);
        return result;
    }

    // Ends an agent by a signal once it has said this; its exit code.
    static int EndOnce(ChildProcess& agent, const std::string& said, int signal = SIGTERM) {
        EXPECT_TRUE(agent.WaitForError(said));
        agent.Signal(signal);
        return agent.Wait().exitCode;
    }

    // Waits until the condition is true; the time limit of the test ends a wait in vain.
    static void AwaitThat(const std::function<bool()>& condition) {
        while (!condition()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    // The paths of the category's log files, and all that stands in them.
    std::vector<std::string> LogFiles(const std::string& category) const {
        std::vector<std::string> paths;
        for (const std::string& name : ListLogFiles(Path("log"), category)) {
            paths.push_back(Path("log/" + name));
        }
        return paths;
    }
    std::string Logged(const std::string& category) const {
        std::string text;
        for (const std::string& path : LogFiles(category)) {
            text += ReadFile(path);
        }
        return text;
    }

    // The records of all log files of the category. Every run that gets as far as starting the
    // service leaves a file for each category at its end, with or without records.
    std::vector<ParsedPiece> Records(const std::string& category) const {
        std::vector<ParsedPiece> records;
        for (const std::string& path : LogFiles(category)) {
            const std::vector<ParsedPiece> more = ParseClosedLogFile(path);
            records.insert(records.end(), more.begin(), more.end());
        }
        return records;
    }

    // The category's record, which has to be its only one.
    ParsedRecord OnlyRecord(const std::string& category) const {
        const std::vector<ParsedPiece> records = Records(category);
        EXPECT_EQ(records.size(), 1U);
        return records.empty() ? ParsedRecord() : records.front().record;
    }

    // The details of the category's records.
    std::vector<std::string> Details(const std::string& category) const {
        std::vector<std::string> details;
        for (const ParsedPiece& piece : Records(category)) {
            details.push_back(piece.record.detail);
        }
        return details;
    }

    const std::string configFile_ = Path("conf/corba_agent.cfg");
};

}  // namespace NS_TEST
