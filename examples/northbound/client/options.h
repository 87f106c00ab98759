// The command line of the client.
#pragma once

#include <string>

namespace NS_NORTHBOUND {

// More call-backs than any client lives to see.
constexpr unsigned int kAnswersAll = 4000000000;

struct ClientOptions {
    std::string command;
    std::string reference;               // the file that the agent wrote
    std::string user;                    // who logs in
    std::string password;                // and how
    unsigned int element = 1;            // of element, connections, and the first one of inventory
    unsigned int count = 10;             // of inventory
    unsigned int alarm = 1;              // of acknowledge
    unsigned int changes = 10;           // of watch: then it ends
    unsigned int answers = kAnswersAll;  // of watch: call-backs that are answered
    unsigned int clients = 8;            // of load
    unsigned int calls = 600;            // of load, for each client; 0: until the agent is gone
    unsigned int failures = 12;          // of load: percentage of calls that fail
    unsigned int subscribers = 2;        // of load: clients that are told of alarms
    std::string report;  // of load: the file that gets a line for each call; empty: none
};

// Reads the command line, without the program's name. Reports what is wrong and returns false.
bool ReadClientOptions(int argc, char* argv[], ClientOptions& options);

// What --help prints.
extern const char kClientHelp[];

}  // namespace NS_NORTHBOUND
