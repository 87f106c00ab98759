// What --help says beside the options and commands.
#pragma once

namespace NS_REFERENCE_HOST {

constexpr char kHelpDescription[] =
    "Looks after the logging of a running agent: shows what it does, and switches it.";

constexpr char kHelpFooter[] =
    "Commands:\n"
    "  status [--watch [SECONDS]]\n"
    "  health\n"
    "  flush\n"
    "  flushall [CATEGORY]\n"
    "  reopen [CATEGORY]\n"
    "  rotate [CATEGORY]\n"
    "  queue on|off\n"
    "  loggers\n"
    "  level N on|off [FIRST SECOND CATEGORY]\n"
    "  module N on|off|show\n"
    "  module show\n"
    "  mode N\n"
    "\n"
    "Characters that a terminal would obey are shown as \\n, \\t and \\xNN; a shell's $'...' "
    "makes\n"
    "them of that again. Switches are not kept: the next start takes them from the configuration,\n"
    "and each change of its file has the levels follow \"logswitch\" again.\n"
    "\n"
    "Exit codes:\n"
    "  0  done\n"
    "  1  the agent could not do it, or refused\n"
    "  2  the command line is wrong\n"
    "  3  no agent can be reached\n"
    "  4  the agent did not answer in time, or not to the end\n"
    "health ends with 0 when all is well, 1 with a warning, 2 when a category cannot be written,\n"
    "4 when that is not known: also when the command line is wrong.";

}  // namespace NS_REFERENCE_HOST
