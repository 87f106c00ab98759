// The benchmark: measures the cases that are asked for, and prints one table.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <regex>

#include "table/machine.h"
#include "table/measuring.h"
#include "table/tables.h"

namespace NS_BENCH {

namespace {

struct Options {
    MeasuringOptions measuring;
    std::string cases = ".";
    std::string results;
    bool quick = false;
    bool json = false;
    bool plot = false;
    bool list = false;
};

void Describe(CLI::App& app, Options& options) {
    // bench.sh gives directories of its own in front of the caller's options.
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.add_flag("--quick", options.quick, "three short rounds, and the cases that matter most");
    app.add_option("--case", options.cases, "only the cases whose names match this expression")
        ->type_name("REGEX");
    app.add_flag("--list", options.list, "list the cases and measure nothing");
    app.add_flag("--json", options.json, "print JSON instead of the table");
    app.add_flag("--plot", options.plot, "write a picture beside the table as well");
    app.add_option("--rounds", options.measuring.rounds, "how often each entrant is measured")
        ->check(CLI::PositiveNumber);
    app.add_option("--duration", options.measuring.milliseconds, "milliseconds of each phase")
        ->check(CLI::PositiveNumber);
    app.add_option("--disk", options.measuring.disk, "directory on the disk that is written to")
        ->check(CLI::ExistingDirectory);
    app.add_option("--memory", options.measuring.memory, "directory in a file system in memory")
        ->check(CLI::ExistingDirectory)
        ->capture_default_str();
    app.add_option("--results", options.results, "directory for results.txt, .json and .svg")
        ->check(CLI::ExistingDirectory);
}

std::vector<Case> ChosenCases(const Options& options) {
    const std::regex expression(options.cases);
    std::vector<Case> chosen;
    for (const Case& what : AllCases()) {
        if (std::regex_search(what.name, expression) && (what.inQuickRun || !options.quick)) {
            chosen.push_back(what);
        }
    }
    return chosen;
}

Heading MakeHeading(const MeasuringOptions& measuring) {
    return {DescribeMachine(), FileSystemOf(measuring.disk), FileSystemOf(measuring.memory),
            "Medians of " + std::to_string(measuring.rounds) + " interleaved rounds of " +
                std::to_string(measuring.milliseconds) + " ms.",
            BusyWarning()};
}

void Write(const std::string& path, const std::string& text) {
    std::ofstream file(path);
    file << text;
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

void Publish(const Options& options, const Heading& heading,
             const std::vector<CaseResult>& results) {
    const std::string text = TextTable(heading, results);
    const std::string json = JsonTable(heading, results);
    std::fputs(options.json ? json.c_str() : text.c_str(), stdout);
    if (!options.results.empty()) {
        Write(options.results + "/results.txt", text);
        Write(options.results + "/results.json", json);
    }
    if (options.plot) {
        Write((options.results.empty() ? "." : options.results) + "/results.svg",
              SvgPlot(heading, results));
    }
}

int Run(const Options& options) {
    const std::vector<Case> cases = ChosenCases(options);
    if (cases.empty()) {
        std::fprintf(stderr, "no case matches %s\n", options.cases.c_str());
        return 2;
    }
    if (options.list) {
        for (const Case& what : cases) {
            std::printf("%-28s%s\n", what.name.c_str(), what.title.c_str());
        }
        return 0;
    }
    const Heading heading = MakeHeading(options.measuring);
    if (!heading.warning.empty()) {
        std::fprintf(stderr, "WARNING: %s\n", heading.warning.c_str());
    }
    Measuring measuring(options.measuring);
    std::vector<CaseResult> results;
    for (const Case& what : cases) {
        results.push_back(measuring.Measure(what));
    }
    Publish(options, heading, results);
    return measuring.HasFailed() ? 1 : 0;
}

}  // namespace

}  // namespace NS_BENCH

int main(int argc, char** argv) {
    NS_BENCH::Options options;
    options.measuring.programs = std::filesystem::canonical("/proc/self/exe").parent_path();
    options.measuring.disk = std::filesystem::temp_directory_path();
    options.measuring.memory = "/dev/shm";
    CLI::App app("Measures the service beside other loggers and floors.", "bench.sh");
    NS_BENCH::Describe(app, options);
    CLI11_PARSE(app, argc, argv);
    if (options.quick) {
        options.measuring.rounds = app.count("--rounds") > 0 ? options.measuring.rounds : 3;
        options.measuring.milliseconds =
            app.count("--duration") > 0 ? options.measuring.milliseconds : 40;
    }
    try {
        return NS_BENCH::Run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return 1;
    }
}
