// What is measured: cases, and those who are compared in each.
#pragma once

#include <string>
#include <vector>

namespace NS_BENCH {

enum class Role { kFloor, kService, kPeer, kReference };

// One row of the table: a program and what it is told. The first floor of a case is the one that
// the others are compared with; a reference is measured and compared with nothing.
struct Entrant {
    std::string label;
    Role role;
    std::string program;
    std::vector<std::string> arguments;
};

struct Case {
    std::string name;                    // what --case is matched against
    std::string title;                   // what it is, for the table
    std::string metric = "ns";           // what is compared; less is better
    bool inMemory = false;               // writes into memory and not to the disk
    std::vector<std::string> arguments;  // for all entrants
    std::vector<Entrant> entrants;
    double bytesPerCall = 0;  // 0: the rate is one of calls, else of bytes
    bool inQuickRun = true;
    int durationFactor = 1;  // a phase is so many times as long as others
};

// All cases, in the order of the table.
std::vector<Case> AllCases();

}  // namespace NS_BENCH
