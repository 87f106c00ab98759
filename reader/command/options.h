// What the command line asks for.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "format/stamp.h"
#include "query/selection.h"

namespace NS_LOG_READER {

enum class Command { Show, Verify, Stats, Report, Prune, Export, Added };

// Says why a file must not be removed; empty: it may. Throws when that cannot be told.
using FileGuard = std::function<std::string(const std::string& path)>;

// A value; what the command line does not say is as initialised here.
struct Options {
    Command command = Command::Show;
    std::vector<std::string> paths;  // never empty, but for added commands and a store
    std::string store;               // the address of a store; empty: the files of `paths`
    Selection selection;

    // Show
    std::string output = "short";
    std::string fields;
    std::string colour = "auto";
    bool withoutPager = false;
    size_t before = 0;
    size_t after = 0;
    bool story = false;
    bool reverse = false;
    bool count = false;
    bool follow = false;
    bool endsWithAgent = false;
    std::optional<uint64_t> lines;

    // Stats and verify
    bool json = false;
    bool sendsAgain = false;
    size_t top = 10;

    // Report and export
    std::string target;
    std::string exportFormat;

    // Prune
    std::optional<uint64_t> keep;
    std::optional<uint64_t> maxBytes;
    std::optional<Time> olderThan;
    bool dryRun = false;
    std::function<FileGuard()> openGuard;  // of another library; null: any file may be removed

    // Added: a command of another library. Returns the program's exit code.
    std::function<int(const Options&)> run;
};

// No value: help or the version was asked for and has been printed. Throws BadRequest.
std::optional<Options> ReadCommandLine(int argc, char* argv[]);

}  // namespace NS_LOG_READER
