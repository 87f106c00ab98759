// The command line of the client.
#include "client/options.h"

#include <algorithm>
#include <array>

#include "common/arguments.h"
#include "common/report.h"
#include "network/accounts.h"
#include "util/selfutilcommon.h"

namespace NS_NORTHBOUND {

namespace {

constexpr char kName[] = "qv_northbound_client";
constexpr std::array<const char*, 8> kCommands = {"inventory",   "element", "connections", "alarms",
                                                  "acknowledge", "watch",   "leave",       "load"};

}  // namespace

const char kClientHelp[] =
    "Usage: qv_northbound_client COMMAND [OPTION VALUE...]\n"
    "\n"
    "A client of the northbound agent. It finds the agent through the file that the agent writes.\n"
    "\n"
    "  inventory     elements: --element N (the first), --count N (10)\n"
    "  element       an element and where it stands: --element N\n"
    "  connections   the connections through an element: --element N\n"
    "  alarms        the active alarms\n"
    "  acknowledge   an alarm: --alarm N\n"
    "  watch         alarms as they come and go: --changes N (10), then it ends;\n"
    "                --answers N: answers N call-backs and then no more, as a bad client does\n"
    "  leave         as watch, but closes its session while the agent makes the subscription\n"
    "  load          many clients: --clients N (8), --calls N of each (600; 0: until the agent is\n"
    "                gone), --failures PERCENT (12), --subscribers N (2), --report FILE\n"
    "\n"
    "  --reference FILE    where the agent is ($_APP_SHARE_DIR/northbound.ior)\n"
    "  --user NAME         operator1 to operator99 (operator1)\n"
    "  --password TEXT     (the account's)\n"
    "  --version           as the only word: version, commit and build kind\n"
    "\n"
    "Exit codes: 0 done, 1 the agent refused, 2 the command line is wrong, 3 the agent cannot be\n"
    "reached\n";

bool ReadClientOptions(int argc, char* argv[], ClientOptions& options) {
    options.reference = NS_UTIL::SelfUtilCommon::getEnvValue("_APP_SHARE_DIR") + "/northbound.ior";
    options.user = AccountName(1);
    if (argc < 1 ||
        std::find(kCommands.begin(), kCommands.end(), std::string(argv[0])) == kCommands.end()) {
        NS_REFERENCE_HOST::Report(kName, "the first word is a command; see --help");
        return false;
    }
    options.command = argv[0];
    const bool read =
        NS_REFERENCE_HOST::ReadArguments(kName, argc - 1, argv + 1,
                                         {{"--reference", options.reference},
                                          {"--user", options.user},
                                          {"--password", options.password},
                                          {"--report", options.report}},
                                         {},
                                         {{"--element", options.element, 0, 4000000000},
                                          {"--count", options.count, 1, 500},
                                          {"--alarm", options.alarm, 0, 4000000000},
                                          {"--changes", options.changes, 1, 1000000},
                                          {"--answers", options.answers, 0, kAnswersAll},
                                          {"--clients", options.clients, 1, 99},
                                          {"--calls", options.calls, 0, 100000000},
                                          {"--failures", options.failures, 0, 100},
                                          {"--subscribers", options.subscribers, 0, 99}});
    if (options.password.empty()) {
        options.password = PasswordOf(options.user);
    }
    return read;
}

}  // namespace NS_NORTHBOUND
