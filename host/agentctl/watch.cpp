// Shows the status again and again.
#include "agentctl/watch.h"

#include <cstdio>
#include <ctime>
#include <string>

#include "agentctl/agentconnection.h"
#include "agentctl/answerdata.h"
#include "agentctl/controlerror.h"
#include "agentctl/shorttext.h"
#include "agentctl/statusview.h"
#include "agentctl/terminal.h"
#include "agentctl/terminaltext.h"
#include "agentctl/watchedoutput.h"
#include "control/answer.h"

namespace NS_REFERENCE_HOST {

namespace {

// What is shown from one look at the agent to the next.
//
// Thread safety: one thread.
class Looks {
  public:
    Looks(const Invocation& invocation, bool utf8) : invocation_(invocation), utf8_(utf8) {}

    // Looks once. Returns false when watching is to end.
    bool Look() {
        std::string text;
        try {
            const std::optional<std::string> answer =
                Ask(invocation_.socketPath, WriteJson(invocation_.request),
                    {invocation_.timeout, output_.StopDescriptor()});
            if (!answer) {
                return false;
            }
            text = Format(ReadAnswerData(*answer));
            outage_.clear();
        } catch (const ControlError& error) {
            if (!hasAnswered_) {
                throw;
            }
            text = FormatOutage(EscapeForTerminal(error.what(), utf8_) + "; trying again\n");
        }
        return output_.Show(text) && output_.Wait(*invocation_.watchInterval);
    }

  private:
    std::string Format(const Json::Value& data) {
        const std::optional<TerminalSize> terminal = OutputTerminalSize();
        hasAnswered_ = true;
        if (invocation_.json) {
            return FormatAsJson(data);
        }
        std::string text =
            Clock() + FormatData([&] {
                return ViewStatusSince(before_, data, {utf8_, terminal ? terminal->columns : 0});
            });
        before_ = data;
        return text;
    }

    // On a terminal it takes the place of the status. Elsewhere it is said once, where it does not
    // disturb who reads the output.
    std::string FormatOutage(const std::string& reason) {
        if (const std::optional<TerminalSize> terminal = OutputTerminalSize()) {
            return Clock() + CutLines(reason, terminal->columns);
        }
        if (reason != outage_) {
            std::fprintf(stderr, "qv_agentctl: %s", reason.c_str());
            outage_ = reason;
        }
        return std::string();
    }

    static std::string Clock() { return LocalTime(std::time(nullptr)) + "\n"; }

    const Invocation& invocation_;
    const bool utf8_;
    WatchedOutput output_;
    bool hasAnswered_ = false;
    Json::Value before_;
    std::string outage_;  // what was said of it last
};

}  // namespace

void Watch(const Invocation& invocation, bool utf8) {
    Looks looks(invocation, utf8);
    while (looks.Look()) {
    }
}

}  // namespace NS_REFERENCE_HOST
