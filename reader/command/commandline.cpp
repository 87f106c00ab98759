#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <set>

#include "command/addedcommands.h"
#include "command/helptext.h"
#include "command/options.h"
#include "query/badrequest.h"
#include "query/timeexpression.h"
#include "version/buildversion.h"

namespace NS_LOG_READER {
namespace {

// What is put together once all of the command line is known.
struct Words {
    std::string since;
    std::string until;
    std::vector<std::string> levels;
    std::string olderThan;
    std::string maxBytes;
    std::vector<std::string> sources;
    std::vector<std::string> numbers;
    size_t around = 0;
    std::string target;
};

// The conversion would make a huge number of it.
std::string RefuseMinus(const std::string& text) {
    return text.rfind('-', 0) == 0 ? "'" + text + "' is less than 0" : "";
}

// May be given several times, each time with one value.
template <class Values>
void AddAny(CLI::App& app, const char* name, Values& values, const char* description,
            const char* type) {
    app.add_option(name, values, description)
        ->type_name(type)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void AddOnce(CLI::App& app, const char* name, std::string& value, const char* description,
             const char* type) {
    app.add_option(name, value, description)
        ->type_name(type)
        ->multi_option_policy(CLI::MultiOptionPolicy::Throw);
}

// Thread safety: one thread.
class CommandLine {
  public:
    CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    std::optional<Options> Read(int argc, char* argv[]);

  private:
    void AddStore(CLI::App& app);
    void AddSelection(CLI::App& app);
    void AddPaths(CLI::App& app);
    void AddShow();
    void AddVerify();
    void AddStats();
    void AddReport();
    void AddPrune();
    void AddExport();
    void AddCommands();
    CLI::App* AddCommand(const char* name, const char* description, Command command);
    void Complete();
    void CompletePaths();
    void Share(CLI::App& app);
    bool CountsBefore(const CLI::App& command, const CLI::Option& option) const;
    void RefuseWordsBeforeCommand() const;

    CLI::App parser_;
    Options options_;
    Words words_;
    std::set<const CLI::Option*> shared_;  // mean the same before a command and after it
};

CommandLine::CommandLine() : parser_(kHelpDescription, "qvlog") {
    parser_.footer(kHelpFooter);
    parser_.set_help_flag("-h,--help", "Print this and exit");
    parser_.set_version_flag("--version", std::string("qvlog ") + NS_VERSION::kBuildVersion,
                             "Print the version and exit");
    parser_.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    parser_.require_subcommand(0, 1);
    AddPaths(parser_);
    AddSelection(parser_);
    AddShow();
    AddCommands();
}

void CommandLine::AddPaths(CLI::App& app) {
    app.add_option("PATH", options_.paths,
                   "Log files, also .gz and .zst, and directories of them\n"
                   "(default: the directory log in $_APP_SHARE_DIR)")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("");
}

void CommandLine::AddStore(CLI::App& app) {
    AddOnce(app, "--store", options_.store, "Ask the store instead of files: postgresql://...",
            "URL");
    AddAny(app, "--host", options_.selection.hosts, "In a store: the hosts; * stands for anything",
           "NAME");
    Share(app);
}

void CommandLine::AddSelection(CLI::App& app) {
    AddStore(app);
    Selection& selection = options_.selection;
    AddOnce(app, "-S,--since", words_.since, "Records of this time and later", "TIME");
    AddOnce(app, "-U,--until", words_.until, "Records before this time", "TIME");
    AddAny(app, "-l,--level", words_.levels, "Levels: 0, 0..2, 0,3, short, asn", "LEVELS");
    AddAny(app, "--category", selection.categories, "Categories; * stands for anything", "NAME");
    AddAny(app, "--process", selection.processes, "Process numbers", "N");
    AddAny(app, "--operation", selection.operations, "Operation identifiers", "ID");
    AddAny(app, "--interface", selection.interfaces, "Interface names", "NAME");
    AddAny(app, "--user", selection.users, "Users", "NAME");
    AddAny(app, "--thread", selection.threads, "Thread numbers, as after T:", "N");
    AddAny(app, "--source", words_.sources, "Where in the source it was logged", "FILE[:LINE]");
    AddAny(app, "--function", selection.functions, "Functions that logged", "NAME");
    AddAny(app, "--number", words_.numbers, "Record numbers", "A..B");
    AddOnce(app, "-g,--grep", selection.pattern,
            "Records whose header or detail matches; a pattern\n"
            "without capitals ignores case",
            "REGEX");
    app.add_flag("-F,--fixed-strings", selection.isFixed, "REGEX is a text, no expression");
    app.add_flag("-v,--invert", selection.invert, "Records that REGEX does not match");
    app.add_flag_callback(
        "--unsorted", [&selection] { selection.trustsOrder = false; },
        "Search all of each file for a time: the clock was set\n"
        "back, or later dumps hold what was kept back");
    Share(app);
}

// The options so far.
void CommandLine::Share(CLI::App& app) {
    for (const CLI::Option* const option : app.get_options()) {
        shared_.insert(option);
    }
}

void CommandLine::AddShow() {
    parser_.add_option("-A,--after-context", options_.after, "Records to show behind each hit")
        ->type_name("N")
        ->check(RefuseMinus);
    parser_.add_option("-B,--before-context", options_.before, "Records to show before each hit")
        ->type_name("N")
        ->check(RefuseMinus);
    parser_.add_option("-C,--context", words_.around, "Both")->type_name("N")->check(RefuseMinus);
    parser_.add_flag("--story", options_.story, "All records of the operations of the hits");
    parser_
        .add_option_function<uint64_t>(
            "-n,--lines", [this](const uint64_t& lines) { options_.lines = lines; },
            "Only the last N records; with --reverse they come\nfirst")
        ->type_name("N")
        ->check(RefuseMinus);
    parser_.add_flag("-r,--reverse", options_.reverse, "The last record first");
    parser_.add_flag("-c,--count", options_.count, "Print only how many records there are");
    parser_.add_option("-o,--output", options_.output, "raw, short, long, json or csv")
        ->type_name("FORMAT");
    parser_.add_option("--fields", options_.fields, "Which fields to print")->type_name("NAMES");
    parser_.add_option("--color", options_.colour, "auto, always or never")->type_name("WHEN");
    parser_.add_flag("--no-pager", options_.withoutPager, "Write straight to the terminal");
    parser_.add_flag("-f,--follow", options_.follow, "Go on with what is written from now on");
    parser_.add_flag("--end-with-agent", options_.endsWithAgent,
                     "With --follow: end when no process writes the files");
}

CLI::App* CommandLine::AddCommand(const char* name, const char* description, Command command) {
    CLI::App* const app = parser_.add_subcommand(name, description);
    app->footer("");
    app->parse_complete_callback([this, command] { options_.command = command; });
    AddPaths(*app);
    return app;
}

void CommandLine::AddPrune() {
    CLI::App* const prune = AddCommand("prune", "Remove the oldest files", Command::Prune);
    prune
        ->add_option_function<uint64_t>(
            "--keep", [this](const uint64_t& keep) { options_.keep = keep; },
            "Keep the N newest files of each category")
        ->type_name("N")
        ->check(RefuseMinus);
    prune->add_option("--max-bytes", words_.maxBytes, "Keep at most so much: 500M, 2G")
        ->type_name("SIZE");
    prune->add_option("--older-than", words_.olderThan, "Remove what was last written before: 30d")
        ->type_name("SPAN");
    prune->add_flag("--dry-run", options_.dryRun, "Only print what would be removed");
    for (const AddedLibrary& library : AddedLibraries()) {
        library.extendPrune(*prune, options_);
    }
}

void CommandLine::AddVerify() {
    CLI::App* const verify = AddCommand("verify", "Check that nothing is missing", Command::Verify);
    verify->add_flag("--json", options_.json, "Print one object a series");
    AddStore(*verify);
    verify->add_flag("--send-again", options_.sendsAgain,
                     "In a store: have files with gaps sent again");
}

void CommandLine::AddStats() {
    CLI::App* const stats = AddCommand("stats", "Count records", Command::Stats);
    AddSelection(*stats);
    stats->add_option("--top", options_.top, "How many values to list (default: 10)")
        ->type_name("N")
        ->check(RefuseMinus);
    stats->add_flag("--json", options_.json, "Print one object");
}

void CommandLine::AddReport() {
    CLI::App* const report = AddCommand("report", "Make a page for a ticket", Command::Report);
    AddSelection(*report);
    report->add_option("--html", options_.target, "The page to write")
        ->type_name("FILE")
        ->required();
}

void CommandLine::AddExport() {
    CLI::App* const sqlite = AddCommand("export", "Write records into a database", Command::Export);
    AddSelection(*sqlite);
    sqlite->add_option("--to", options_.exportFormat, "The kind of database: sqlite")
        ->type_name("KIND")
        ->required();
    sqlite->add_option("FILE", options_.target, "The database to write");
}

// In the order in which --help lists them.
void CommandLine::AddCommands() {
    AddVerify();
    AddStats();
    AddReport();
    AddPrune();
    AddExport();
    for (const AddedLibrary& library : AddedLibraries()) {
        library.addCommands([this](const char* name, const char* description,
                                   std::function<int(const Options&)> run) {
            CLI::App* const app = AddCommand(name, description, Command::Added);
            app->parse_complete_callback([this, run = std::move(run)] {
                options_.command = Command::Added;
                options_.run = run;
            });
            return app;
        });
    }
}

void CommandLine::CompletePaths() {
    if (!options_.store.empty()) {
        if (!options_.paths.empty()) {
            throw BadRequest("--store: a PATH is not asked for then");
        }
        return;
    }
    if (!options_.selection.hosts.empty() || options_.sendsAgain) {
        throw BadRequest("--host and --send-again need --store");
    }
    if (!options_.paths.empty()) {
        return;
    }
    const char* const share = std::getenv("_APP_SHARE_DIR");
    if (share == nullptr || *share == '\0') {
        if (options_.command == Command::Added) {
            return;
        }
        throw BadRequest("no log files: give a PATH, or set _APP_SHARE_DIR (--help tells more)");
    }
    options_.paths.push_back(std::string(share) + "/log");
}

uint64_t ParseSize(const std::string& text) {
    size_t end = 0;
    uint64_t size = 0;
    try {
        size = std::stoull(text, &end);
    } catch (const std::exception&) {
        end = 0;
    }
    const std::string units = "KMGT";
    const std::string unit = text.substr(end);
    const size_t power = unit.empty() ? 0 : units.find(unit[0]) + 1;
    const bool isTooLarge = size > std::numeric_limits<uint64_t>::max() >> (10 * power);
    if (end == 0 || unit.size() > 1 || (!unit.empty() && power == 0) || text[0] == '-' ||
        isTooLarge) {
        throw BadRequest("'" + text + "' is no size; write 1000000, 500M or 2G");
    }
    return size << (10 * power);
}

void CommandLine::Complete() {
    const Time now = std::chrono::duration_cast<std::chrono::microseconds>(
                         std::chrono::system_clock::now().time_since_epoch())
                         .count();
    Selection& selection = options_.selection;
    if (!words_.since.empty()) {
        selection.since = ParseTimeExpression(words_.since, now);
    }
    if (!words_.until.empty()) {
        selection.until = ParseTimeExpression(words_.until, now, selection.since, Bound::Until);
    }
    if (selection.since && selection.until && *selection.until < *selection.since) {
        throw BadRequest("--until: '" + words_.until + "' is before '" + words_.since +
                         "' of --since");
    }
    for (const std::string& text : words_.levels) {
        const std::vector<std::pair<int, int>> levels = ParseLevels(text);
        selection.levels.insert(selection.levels.end(), levels.begin(), levels.end());
    }
    for (const std::string& source : words_.sources) {
        selection.sources.push_back(ParseSource(source));
    }
    for (const std::string& numbers : words_.numbers) {
        selection.numbers.push_back(ParseNumbers(numbers));
    }
    if (selection.invert && selection.pattern.empty()) {
        throw BadRequest("--invert: of which --grep?");
    }
    if (options_.endsWithAgent && !options_.follow) {
        throw BadRequest("--end-with-agent: of which --follow?");
    }
    if (!words_.olderThan.empty()) {
        options_.olderThan = now - ParseDuration(words_.olderThan);
    }
    if (!words_.maxBytes.empty()) {
        options_.maxBytes = ParseSize(words_.maxBytes);
    }
    options_.before = options_.before == 0 ? words_.around : options_.before;
    options_.after = options_.after == 0 ? words_.around : options_.after;
}

// Whether an option of the program that stands before a command is one of that command too, which
// does not have it from behind its name.
bool CommandLine::CountsBefore(const CLI::App& command, const CLI::Option& option) const {
    const CLI::Option* const same = command.get_option_no_throw(option.get_name());
    return !option.get_positional() && shared_.count(same) != 0 && same->count() == 0;
}

// A command would ignore them, or mix them with its own.
void CommandLine::RefuseWordsBeforeCommand() const {
    const std::vector<const CLI::App*> commands =
        parser_.get_subcommands([](const CLI::App* app) { return app->parsed(); });
    if (commands.empty()) {
        return;
    }
    const std::vector<const CLI::Option*> options = parser_.get_options();
    const auto given = std::find_if(options.begin(), options.end(), [&](const CLI::Option* option) {
        return option->count() > 0 && !CountsBefore(*commands.front(), *option);
    });
    if (given != options.end()) {
        const std::string& name = commands.front()->get_name();
        const std::string word =
            (*given)->get_positional() ? (*given)->results().front() : (*given)->get_name();
        throw BadRequest("'" + word + "' stands before the command " + name +
                         ": options and paths come after it (a file of that name is written ./" +
                         name + ")");
    }
}

std::optional<Options> CommandLine::Read(int argc, char* argv[]) {
    try {
        parser_.parse(argc, argv);
    } catch (const CLI::Success& request) {
        parser_.exit(request, std::cout, std::cerr);
        if (!std::cout.flush()) {
            throw std::runtime_error("the output could not be written");
        }
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw BadRequest(std::string(error.what()) + " (--help tells more)");
    }
    RefuseWordsBeforeCommand();
    Complete();
    if (options_.command == Command::Export && options_.target.empty() && !options_.paths.empty()) {
        options_.target = options_.paths.front();
        options_.paths.erase(options_.paths.begin());
    }
    CompletePaths();
    return options_;
}

}  // namespace

std::optional<Options> ReadCommandLine(int argc, char* argv[]) {
    return CommandLine().Read(argc, argv);
}

}  // namespace NS_LOG_READER
