// Running one program of the benchmark.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace NS_BENCH {

using Metrics = std::map<std::string, double>;

// Starts the program, waits for its end and returns the metrics that it has printed. Throws
// std::runtime_error with what it has said when it fails.
Metrics RunProgram(const std::string& path, const std::vector<std::string>& arguments);

}  // namespace NS_BENCH
