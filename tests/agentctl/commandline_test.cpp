// The control program without an agent, and with agents that do not answer as they should.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <regex>
#include <thread>

#include "agentctl/socketclient.h"
#include "agentctl/tasks.h"
#include "control/controlserver.h"
#include "support/childprocess.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

namespace {

using namespace std::chrono_literals;
using NS_REFERENCE_HOST::Answerer;
using NS_REFERENCE_HOST::ControlServer;
using namespace NS_TEST;
using namespace testing;

class ControlProgram : public DirectoryTest {
  protected:
    ControlProgram() { unsetenv("_APP_SHARE_DIR"); }

    static ChildResult Run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), QV_AGENTCTL);
        return RunProgram({arguments});
    }

    // The same with the socket of this test.
    ChildResult Ask(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--socket", Socket()});
        return Run(arguments);
    }

    // Expects that the program ends like this, with such words on standard error.
    static void ExpectFailure(const ChildResult& result, int exitCode, const std::string& reason) {
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_THAT(result.output, IsEmpty());
        EXPECT_THAT(result.errors, HasSubstr(reason));
    }

    std::string Socket() const { return Path("socket"); }

    // An agent that answers everybody like this, and does not run out of patience.
    std::unique_ptr<ControlServer> Serve(const Answerer& answerer) const {
        auto server = std::make_unique<ControlServer>(Socket(), answerer, 1h);
        server->Start();
        return server;
    }
    std::unique_ptr<ControlServer> Serve(const char* answer) const {
        return Serve([answer](const std::string&) { return std::string(answer); });
    }
};

TEST_F(ControlProgram, HelpNamesCommandsAndExitCodesAndVersionIsOneLine) {
    const ChildResult result = Run({"--help"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errors, IsEmpty());
    for (const char* expected :
         {"status [--watch", "health", "flushall [CATEGORY]", "reopen [CATEGORY]",
          "rotate [CATEGORY]", "queue on|off", "loggers", "level N on|off [FIRST SECOND CATEGORY]",
          "module show", "mode N", "--json", "--share DIR", "--socket PATH", "--timeout SECONDS",
          "Exit codes:"}) {
        EXPECT_THAT(result.output, HasSubstr(expected));
    }
    EXPECT_THAT(Run({"--version"}).output,
                MatchesRegex("qv_agentctl [0-9.]+ \\(commit [0-9a-z-]+, [^()]+\\)\n"));
}

TEST_F(ControlProgram, ManualPageHasEachOptionAndEachCommandOfTheHelp) {
    const std::string page = std::regex_replace(ReadFile(QV_MANUAL), std::regex("\\\\"), "");
    const std::string help = Run({"--help"}).output;
    const std::regex option("^  (?:-[a-z],)?(--[a-z-]+)",
                            std::regex::ECMAScript | std::regex::multiline);
    const std::regex command("^  ([a-z]+) ?[^\n]*$",
                             std::regex::ECMAScript | std::regex::multiline);
    const size_t begin = help.find("\nCommands:\n");
    const std::string commands = help.substr(begin, help.find("\n\n", begin) - begin);
    int found = 0;
    for (const auto& [text, pattern] : {std::pair(help, option), std::pair(commands, command)}) {
        for (std::sregex_iterator at(text.begin(), text.end(), pattern), end; at != end; ++at) {
            const std::regex entry("\n\\.TP\n\\.[^\n]* " + at->str(1) + "\\b");
            EXPECT_TRUE(std::regex_search(page, entry)) << at->str(1);
            ++found;
        }
    }
    EXPECT_GE(found, 15);
}

std::vector<std::string> WrongCommandLines() {
    return {"",
            "nonsense",
            "status extra",
            "status --nonsense",
            "status flush",
            "status --watch never",
            "queue",
            "queue maybe",
            "level",
            "level 1",
            "level 4 on",
            "level -1 on",
            "level 1 on first",
            "level 1 on first second",
            "level 1 on first second category more",
            "module",
            "module 7",
            "module x on",
            "module -7 on",
            "module 99999999999 on",
            "module 4294967296 on",
            "module 0x10 on",
            "module 7x on",
            "module  on",
            "flushall  ",
            "reopen  ",
            "rotate  ",
            "status --timeout nan",
            "status --timeout 0",
            "status --timeout 86401",
            "status --watch 0.01",
            "module show on",
            "mode",
            "mode x",
            "mode 0x1",
            "mode 4294967296",
            "level 0x1 on",
            "flushall a b",
            "reopen a b",
            "rotate a b",
            "level 1 on " + std::string(5000, 'x') + " second debug"};
}

TEST_F(ControlProgram, CommandLinesThatAreWrongEndWithTwo) {
    for (const std::string& words : WrongCommandLines()) {
        SCOPED_TRACE(words);
        // Two blanks have an empty word between them.
        ExpectFailure(Ask(SplitText(words, ' ')), 2, "qv_agentctl: ");
    }
}

// 2 would say that a category cannot be written.
TEST_F(ControlProgram, HealthIsUnknownWhereTheCommandLineIsWrong) {
    for (const char* words : {"health extra", "--bogus health", "--timeout x health"}) {
        SCOPED_TRACE(words);
        ExpectFailure(Ask(SplitText(words, ' ')), 4, "(--help tells more)");
    }
    ExpectFailure(Run({"health"}), 4, "no share directory");
}

// `--share $UNSET health` of a script.
TEST_F(ControlProgram, HealthIsUnknownWhereAnOptionTakesTheCommandForItsValue) {
    ExpectFailure(Run({"--share", "health"}), 4, "no command");
    ExpectFailure(Run({"--share", Path(), "module", "health"}), 2, "no module's number");
}

// The variable's agent would get what is meant for another one.
TEST_F(ControlProgram, AnEmptyPlaceToLookIsRefused) {
    for (const char* option : {"--share", "--socket"}) {
        SCOPED_TRACE(option);
        ExpectFailure(
            RunProgram({{QV_AGENTCTL, option, "", "status"}, {{"_APP_SHARE_DIR", Path()}}}), 2,
            std::string(option) + ": it is empty");
    }
}

TEST_F(ControlProgram, WithoutAPlaceToLookItSaysWhatToGive) {
    ExpectFailure(Run({"status"}), 2, "--share DIR or --socket PATH");
}

TEST_F(ControlProgram, WithoutAnAgentItEndsWithThree) {
    ExpectFailure(Run({"--share", Path(), "status"}), 3,
                  Path("qv_agent.sock") + ": No such file or directory");
    EXPECT_EQ(Run({"--share", Path("nowhere"), "status"}).exitCode, 3);
    EXPECT_EQ(Run({"--socket", Path(std::string(200, 'n')), "status"}).exitCode, 3);
}

TEST_F(ControlProgram, AnAgentThatDoesNotAnswerInTimeIsFour) {
    Happening mayAnswer;
    const auto server = Serve([&mayAnswer](const std::string&) {
        mayAnswer.Await();
        return std::string();
    });
    ExpectFailure(Ask({"--timeout", "0.2", "status"}), 4, "did not answer in time");
    mayAnswer.Happen();
}

TEST_F(ControlProgram, WatchEndsOnASignalEvenIfTheAgentDoesNotAnswer) {
    for (const int signal : {SIGINT, SIGTERM}) {
        Happening asked;
        Happening mayAnswer;
        const auto server = Serve([&](const std::string&) {
            asked.Happen();
            mayAnswer.Await();
            return std::string();
        });
        ChildProcess watch(
            {{QV_AGENTCTL, "--socket", Socket(), "--timeout", "3600", "status", "--watch"}});
        ASSERT_TRUE(asked.Await());
        watch.Signal(signal);
        const ChildResult result = watch.Wait();
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.errors, "");
        mayAnswer.Happen();
    }
}

// Its queue of connections is full.
TEST_F(ControlProgram, AnAgentThatTakesNoConnectionIsFour) {
    const auto listening = ListeningTo(Socket());
    const SocketClient first(Socket());
    ExpectFailure(Ask({"--timeout", "0.2", "status"}), 4, "did not answer in time");
}

TEST_F(ControlProgram, AnAnswerWithoutAnEndIsFour) {
    const auto listening = ListeningTo(Socket());
    std::thread agent([&listening] {
        const int client = accept4(listening.Get(), nullptr, nullptr, SOCK_CLOEXEC);
        const std::string piece(65536, 'x');
        while (send(client, piece.data(), piece.size(), MSG_NOSIGNAL) > 0) {
        }
        close(client);
    });
    ExpectFailure(Ask({"--timeout", "3600", "status"}), 4, "the agent's answer has no end");
    agent.join();
}

TEST_F(ControlProgram, NumbersAreDecimalAndNamesMayBeEmpty) {
    std::string requests;  // the server's while it runs
    const auto server = Serve([&requests](const std::string& text) {
        requests += text;
        return R"({"ok":true,"data":{"module":4294967295,"on":true}})";
    });
    EXPECT_EQ(Ask({"module", "010", "off"}).exitCode, 0);
    EXPECT_EQ(Ask({"module", "4294967295", "show"}).output, "module 4294967295 is on\n");
    EXPECT_EQ(Ask({"mode", "010"}).exitCode, 0);
    EXPECT_EQ(Ask({"level", "01", "on", "first", "", "category"}).exitCode, 0);
    server->Stop();
    EXPECT_THAT(requests, HasSubstr(R"("second":"")"));
    EXPECT_THAT(requests, HasSubstr(R"("module":10,)"));
    EXPECT_THAT(requests, HasSubstr(R"("mode":10})"));
    EXPECT_THAT(requests, HasSubstr(R"("level":1,)"));
    EXPECT_THAT(requests, HasSubstr(R"("module":4294967295)"));
}

TEST_F(ControlProgram, AnAnswerThatMakesNoSenseIsFour) {
    for (const char* answer : {"", "nonsense", "[]", "{\"ok\":7.5x}", "{\"ok\":true,\"data\":7}",
                               "{\"ok\":true,\"data\":{\"channels\":[7]}}"}) {
        const auto server = Serve(answer);
        SCOPED_TRACE(answer);
        ExpectFailure(Ask({"status"}), 4, "cannot be understood");
    }
}

TEST_F(ControlProgram, AnAgentThatBreaksOffIsFour) {
    const auto server =
        Serve([](const std::string&) -> std::string { throw std::runtime_error("lost"); });
    ExpectFailure(Ask({"status"}), 4, "broke off");
}

TEST_F(ControlProgram, ARefusalIsOneWithReasonAndCode) {
    const auto server = Serve(R"({"ok":false,"error":"too \u001b[31mred","code":1091043331})");
    ExpectFailure(Ask({"mode", "9"}), 1, "qv_agentctl: too \\x1b[31mred (0x41080003)\n");
}

TEST_F(ControlProgram, JsonIsTheDataInOneLineOfValidText) {
    const auto server = Serve("{\"ok\":true,\"data\":{\"loggers\":[\"a\xff\"]}}");
    const ChildResult result = Ask({"loggers", "--json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "{\"loggers\":[\"a\uFFFD\"]}\n");
}

// To a full disk and to nobody at all.
TEST_F(ControlProgram, OutputThatCannotBeWrittenIsNoSuccess) {
    const auto server = Serve(R"({"ok":true,"data":{"modules":[],"channels":[],"mode":0}})");
    for (const char* output : {">/dev/full", ">&-"}) {
        SCOPED_TRACE(output);
        const auto run = [&](std::vector<std::string> arguments) {
            arguments.insert(arguments.begin(),
                             {"sh", "-c", std::string("exec \"$0\" \"$@\" ") + output, QV_AGENTCTL,
                              "--socket", Socket()});
            return RunProgram({arguments});
        };
        ExpectFailure(run({"module", "show"}), 1, "could not be written");
        ExpectFailure(run({"status", "--watch"}), 1, "could not be written");
        EXPECT_EQ(run({"flush"}).exitCode, 0) << "it prints nothing";
    }
}

TEST_F(ControlProgram, HealthIsTheExitCode) {
    for (const int health : {0, 1, 2}) {
        const std::string answer =
            R"({"ok":true,"data":{"health":)" + std::to_string(health) + R"(,"problems":[]}})";
        const auto server = Serve(answer.c_str());
        EXPECT_EQ(Ask({"health"}).exitCode, health);
        EXPECT_EQ(Ask({"health", "--json"}).exitCode, health);
    }
    for (const char* data : {"{}", R"({"health":3})", R"({"health":"good"})", R"({"health":-1})"}) {
        SCOPED_TRACE(data);
        const std::string answer = std::string(R"({"ok":true,"data":)") + data + "}";
        const auto server = Serve(answer.c_str());
        EXPECT_EQ(Ask({"health"}).exitCode, 4);
    }
    EXPECT_EQ(Ask({"health"}).exitCode, 3) << "there is no agent any more";
}

// 1 would say that records were lost.
TEST_F(ControlProgram, HealthIsUnknownWhereTheAgentRefusesOrNobodyIsTold) {
    {
        const auto server = Serve(R"({"ok":false,"error":"the agent runs no logging service"})");
        ExpectFailure(Ask({"health"}), 4, "qv_agentctl: the agent runs no logging service\n");
        ExpectFailure(Ask({"health", "--json"}), 4, "runs no logging service");
    }
    const auto server = Serve(R"({"ok":true,"data":{"health":0,"problems":[]}})");
    const ChildResult untold = RunProgram({{"sh", "-c", "exec \"$0\" \"$@\" >/dev/full",
                                            QV_AGENTCTL, "--socket", Socket(), "health"}});
    ExpectFailure(untold, 4, "could not be written");
}

}  // namespace
