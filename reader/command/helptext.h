// What --help says around the options.
#pragma once

namespace NS_LOG_READER {

constexpr const char* kHelpDescription =
    "Reads the agent's log files: whole records, over all files of a process, by time.";

constexpr const char* kHelpFooter =
    "Times: 2026-03-05T14:07:09+01:00, \"2026-03-05 14:07\", 14:07, yesterday, \"10 min ago\", "
    "-1h.\n"
    "Several conditions must all hold; of one that is given several times, any value may. TIME\n"
    "and REGEX are given once. Options and paths of a command come after it; a file or directory\n"
    "named like a command is written ./verify.\n"
    "\n"
    "    qvlog -l 0 --since 02:00                errors since two o'clock\n"
    "    qvlog --grep 'NE-1199' --story          the whole operations that name NE-1199\n"
    "    qvlog --user 'nms*' -n 20 -o long       a user's last 20 records, all fields\n"
    "    qvlog -f -l 0..1                        errors and their like, as they come\n"
    "    qvlog -o json | jq -r .operation        for other programs\n"
    "\n"
    "Exit codes: 0 records were found, 1 there were none, 2 something went wrong.\n";

}  // namespace NS_LOG_READER
