// The control program.
#include <cstdio>
#include <exception>
#include <optional>
#include <string>

#include "agentctl/agentconnection.h"
#include "agentctl/answerdata.h"
#include "agentctl/controlerror.h"
#include "agentctl/invocation.h"
#include "agentctl/terminal.h"
#include "agentctl/terminaltext.h"
#include "agentctl/watch.h"
#include "control/answer.h"
#include "process/standarddescriptors.h"

namespace {

using namespace NS_REFERENCE_HOST;

void Print(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() ||
        std::fflush(stdout) != 0) {
        throw ControlError(ControlExit::Refused, "the output could not be written");
    }
}

// The agent's judgement becomes the exit code. What is none must not pass for good health.
int ExitCodeOf(const Invocation& invocation, const Json::Value& data) {
    if (!invocation.exitsByHealth) {
        return static_cast<int>(ControlExit::Done);
    }
    const Json::Value& health = data["health"];
    if (!health.isUInt() || health.asUInt() > 2) {
        throw ControlError(ControlExit::NoAnswer, "the answer cannot be understood: no health");
    }
    return health.asInt();
}

int AskOnce(const Invocation& invocation, bool utf8) {
    const std::optional<std::string> answer =
        Ask(invocation.socketPath, WriteJson(invocation.request), {invocation.timeout});
    const Json::Value data = ReadAnswerData(answer.value());
    const std::optional<TerminalSize> terminal = OutputTerminalSize();
    Print(invocation.json ? FormatAsJson(data) : FormatData([&] {
        return invocation.view(data, {utf8, terminal ? terminal->columns : 0});
    }));
    return ExitCodeOf(invocation, data);
}

int Run(int argc, char* argv[], bool utf8) {
    const std::optional<Invocation> invocation = ReadInvocation(argc, argv);
    if (!invocation) {
        return static_cast<int>(ControlExit::Done);
    }
    if (invocation->watchInterval) {
        Watch(*invocation, utf8);
        return static_cast<int>(ControlExit::Done);
    }
    try {
        return AskOnce(*invocation, utf8);
    } catch (const ControlError& error) {
        // As an answer about the health, 1 says that records were lost. Nobody has said so here.
        if (invocation->exitsByHealth && error.Code() == ControlExit::Refused) {
            throw ControlError(ControlExit::NoAnswer, error.what());
        }
        throw;
    }
}

int Fail(ControlExit exitCode, const std::string& reason, bool utf8) {
    std::fprintf(stderr, "qv_agentctl: %s\n", EscapeForTerminal(reason, utf8).c_str());
    return static_cast<int>(exitCode);
}

}  // namespace

int main(int argc, char* argv[]) {
    // What is written to a closed output fails. A command that prints nothing succeeds.
    FillStandardDescriptors("/dev/full");
    const bool utf8 = TerminalShowsUtf8();
    try {
        return Run(argc, argv, utf8);
    } catch (const ControlError& error) {
        return Fail(error.Code(), error.what(), utf8);
    } catch (const std::exception& error) {
        return Fail(ControlExit::NoAnswer, error.what(), utf8);
    }
}
