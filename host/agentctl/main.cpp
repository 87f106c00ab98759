// The control program.
#include <cstdio>
#include <exception>
#include <optional>
#include <string>

#include "agentctl/agentconnection.h"
#include "agentctl/controlerror.h"
#include "agentctl/invocation.h"
#include "agentctl/terminaltext.h"
#include "agentctl/watchedoutput.h"
#include "control/answer.h"

namespace {

using namespace NS_REFERENCE_HOST;

std::string DescribeFailure(const Json::Value& answer) {
    std::string text = answer["error"].asString();
    if (answer.isMember("code")) {
        char code[16];
        std::snprintf(code, sizeof(code), " (0x%08X)", answer["code"].asUInt());
        text += code;
    }
    return text;
}

// What to print when the agent has done what it was asked for. Throws ControlError.
std::string Describe(const Invocation& invocation, const std::string& text, bool utf8) {
    try {
        const Json::Value answer = ReadJsonObject(text);
        if (!answer["ok"].asBool()) {
            throw ControlError(ControlExit::Refused, DescribeFailure(answer));
        }
        if (invocation.json) {
            return ReplaceInvalidUtf8(WriteJson(answer["data"])) + "\n";
        }
        return invocation.view(answer["data"], utf8);
    } catch (const ControlError&) {
        throw;
    } catch (const std::exception& error) {
        throw ControlError(ControlExit::NoAnswer,
                           std::string("the answer cannot be understood: ") + error.what());
    }
}

void Watch(const Invocation& invocation, bool utf8) {
    WatchedOutput output;
    const Patience patience{invocation.timeout, output.StopDescriptor()};
    std::optional<std::string> answer;
    do {
        answer = Ask(invocation.socketPath, WriteJson(invocation.request), patience);
    } while (answer && output.Show(Describe(invocation, *answer, utf8)) &&
             output.Wait(*invocation.watchInterval));
}

void Print(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() ||
        std::fflush(stdout) != 0) {
        throw ControlError(ControlExit::Refused, "the output could not be written");
    }
}

ControlExit Run(int argc, char* argv[], bool utf8) {
    const std::optional<Invocation> invocation = ReadInvocation(argc, argv);
    if (invocation && invocation->watchInterval) {
        Watch(*invocation, utf8);
    } else if (invocation) {
        const std::optional<std::string> answer =
            Ask(invocation->socketPath, WriteJson(invocation->request), {invocation->timeout});
        Print(Describe(*invocation, answer.value(), utf8));
    }
    return ControlExit::Done;
}

int Fail(ControlExit exitCode, const std::string& reason, bool utf8) {
    std::fprintf(stderr, "qv_agentctl: %s\n", EscapeForTerminal(reason, utf8).c_str());
    return static_cast<int>(exitCode);
}

}  // namespace

int main(int argc, char* argv[]) {
    const bool utf8 = TerminalShowsUtf8();
    try {
        return static_cast<int>(Run(argc, argv, utf8));
    } catch (const ControlError& error) {
        return Fail(error.Code(), error.what(), utf8);
    } catch (const std::exception& error) {
        return Fail(ControlExit::NoAnswer, error.what(), utf8);
    }
}
