// The results, for people and for programs.
#pragma once

#include <string>
#include <vector>

#include "table/results.h"

namespace NS_BENCH {

// What stands above the figures.
struct Heading {
    std::string machine;
    std::string disk;     // file system of the cases that write to the disk
    std::string memory;   // and of those that write into memory
    std::string rounds;   // how much was measured
    std::string warning;  // empty: none
};

std::string TextTable(const Heading& heading, const std::vector<CaseResult>& results);
std::string JsonTable(const Heading& heading, const std::vector<CaseResult>& results);

// A picture of the cases that have a floor and peers: time for a record, as a multiple of the
// floor's. Readable on light and dark ground.
std::string SvgPlot(const Heading& heading, const std::vector<CaseResult>& results);

}  // namespace NS_BENCH
