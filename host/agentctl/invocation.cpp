// The command line of the control program.
#include "agentctl/invocation.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <vector>

#include "agentctl/controlerror.h"
#include "agentctl/helptext.h"
#include "agentctl/views.h"
#include "control/protocol.h"
#include "version/buildversion.h"

namespace NS_REFERENCE_HOST {

namespace {

// Decimal only: a leading zero does not mean octal to an operator.
std::optional<unsigned int> ReadDecimal(const std::string& text) {
    unsigned int number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

// A whole number up to `most`.
CLI::Validator Decimal(unsigned int most) {
    const auto check = [most](const std::string& text) {
        const std::optional<unsigned int> number = ReadDecimal(text);
        return number && *number <= most
                   ? std::string()
                   : "'" + text + "' is no number from 0 to " + std::to_string(most);
    };
    return CLI::Validator(check, "");
}

const CLI::Validator kNotEmpty(
    [](const std::string& text) { return std::string(text.empty() ? "it is empty" : ""); }, "");

// Up to a day. CLI::Range does not serve: it accepts what is not a number.
CLI::Validator Seconds(double least) {
    const auto check = [least](const std::string& text) {
        double seconds = 0;
        const bool isInRange =
            CLI::detail::lexical_cast(text, seconds) && seconds >= least && seconds <= 86400;
        return isInRange ? std::string() : "'" + text + "' is no number of seconds up to a day";
    };
    return CLI::Validator(check, "");
}

// The parts of the command line that are combined after parsing.
struct Words {
    std::string share;
    double timeoutSeconds = 10;
    double watchSeconds = 2;
    std::string target;
    std::string action;
    std::string first;
    std::string second;
    std::string category;
    std::string number;
};

// Reads the command line into an invocation.
//
// Thread safety: one thread.
class CommandLine {
  public:
    CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    std::optional<Invocation> Read(int argc, char* argv[]);

  private:
    std::optional<Invocation> Parse(int argc, char* argv[]);
    bool AsksForHealth(int argc, char* argv[]) const;
    CLI::App* Add(const char* name, const char* description, View view);
    CLI::App* AddForCategory(const char* name, const char* description);
    void DeclareGlobal();
    void DeclareOutput();
    void DeclareSwitches();
    void DeclareModule();
    void AddSwitch(CLI::App* command);
    void CompleteLevel(const CLI::App* command);
    void CompleteModule();
    void ChooseSocket();
    void ChooseTimes();

    CLI::App parser_;
    Words words_;
    Invocation invocation_;
};

[[noreturn]] void FailUsage(const std::string& text) {
    throw ControlError(ControlExit::BadCommandLine, text + " (--help tells more)");
}

CommandLine::CommandLine() : parser_(kHelpDescription, "qv_agentctl") {
    parser_.footer(kHelpFooter);
    parser_.set_help_flag("-h,--help", "Print this and exit");
    parser_.set_version_flag("--version", std::string("qv_agentctl ") + NS_VERSION::kBuildVersion,
                             "Print the version and exit");
    parser_.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    parser_.require_subcommand(0, 1);  // that there is none is said further down, in better words
    parser_.fallthrough();
    DeclareGlobal();
    DeclareOutput();
    DeclareSwitches();
    DeclareModule();
}

void CommandLine::DeclareGlobal() {
    parser_
        .add_option("--share", words_.share,
                    "The agent's share directory\n(default: the variable _APP_SHARE_DIR)")
        ->type_name("DIR")
        ->check(kNotEmpty);
    parser_
        .add_option("--socket", invocation_.socketPath,
                    "The agent's socket (default: qv_agent.sock in\nthe share directory)")
        ->type_name("PATH")
        ->check(kNotEmpty);
    parser_
        .add_option("--timeout", words_.timeoutSeconds,
                    "How long to wait for the agent (default: 10)")
        ->type_name("SECONDS")
        ->check(Seconds(0.001));
    parser_.add_flag("--json", invocation_.json,
                     "Print the data of the answer as JSON, in one line");
}

CLI::App* CommandLine::Add(const char* name, const char* description, View view) {
    CLI::App* const command = parser_.add_subcommand(name, description);
    command->footer("");
    command->parse_complete_callback([this, name, view] {
        invocation_.request["command"] = name;
        invocation_.view = view;
    });
    return command;
}

// A command for one category or, without its name, for all.
CLI::App* CommandLine::AddForCategory(const char* name, const char* description) {
    CLI::App* const command = Add(name, description, &ViewNothing);
    // An empty one is a variable of a script that is not set: all categories are not meant.
    command->add_option("CATEGORY", words_.category, "Only this category")->check(kNotEmpty);
    return command;
}

void CommandLine::DeclareOutput() {
    CLI::App* const status = Add("status", "Show the output mode and all channels", &ViewStatus);
    status
        ->add_option_function<double>(
            "--watch", [this](const double& seconds) { words_.watchSeconds = seconds; },
            "Show it again every SECONDS (default: 2), until\nSIGINT or the end of the output")
        ->type_name("SECONDS")
        ->expected(0, 1)
        ->default_str("2")
        ->check(Seconds(0.1));
    Add("health", "Tell whether records are lost, and exit with 0, 1 or 2", &ViewHealth);
    Add("flush", "Write out what is queued, in all categories", &ViewNothing);
    AddForCategory("flushall", "Write out what is queued and what is kept back");
    AddForCategory("reopen", "Open the log files again, by their names");
    AddForCategory("rotate", "Begin new log files");
    CLI::App* const queue = Add("queue", "Switch queued output on or off", &ViewQueue);
    AddSwitch(queue);
    CLI::App* const mode = Add("mode",
                               "Set the output mode: 0 ends the periodic output,\n"
                               "1 changes nothing",
                               &ViewNothing);
    mode->add_option("N", words_.number, "The mode")
        ->required()
        ->check(Decimal(std::numeric_limits<unsigned int>::max()));
}

void CommandLine::AddSwitch(CLI::App* command) {
    command->add_option("SWITCH", words_.action, "on or off")
        ->required()
        ->check(CLI::IsMember({"on", "off"}).description(""));
}

void CommandLine::DeclareSwitches() {
    Add("loggers", "Show all loggers with their switches", &ViewLoggers);
    CLI::App* const level = Add("level", "Switch a level, globally or of one logger", &ViewNothing);
    level->add_option("N", words_.number, "The level, 0 to 3")->required()->check(Decimal(3));
    AddSwitch(level);
    level->add_option("FIRST", words_.first, "The logger: all three of its strings");
    level->add_option("SECOND", words_.second);
    level->add_option("CATEGORY", words_.category);
}

void CommandLine::DeclareModule() {
    CLI::App* const module = Add("module", "Show or switch modules", &ViewModule);
    module->add_option("MODULE", words_.target, "The module's number, or \"show\" for all")
        ->required();
    module->add_option("SWITCH", words_.action, "on, off or show")
        ->check(CLI::IsMember({"on", "off", "show"}).description(""));
}

void CommandLine::CompleteLevel(const CLI::App* command) {
    invocation_.request["level"] = ReadDecimal(words_.number).value();
    const std::size_t names =
        command->count("FIRST") + command->count("SECOND") + command->count("CATEGORY");
    if (names == 0) {
        return;
    }
    if (names != 3) {
        FailUsage("level: a logger has three strings: FIRST SECOND CATEGORY");
    }
    invocation_.request["first"] = words_.first;
    invocation_.request["second"] = words_.second;
    invocation_.request["category"] = words_.category;
}

void CommandLine::CompleteModule() {
    if (words_.target == "show" && words_.action.empty()) {
        invocation_.request["command"] = "modules";
        invocation_.view = &ViewModules;
        return;
    }
    const std::optional<unsigned int> number = ReadDecimal(words_.target);
    if (!number) {
        FailUsage("module: '" + words_.target + "' is no module's number");
    }
    if (words_.action.empty()) {
        FailUsage("module: on, off or show?");
    }
    invocation_.request["module"] = *number;
}

void CommandLine::ChooseSocket() {
    if (!invocation_.socketPath.empty()) {
        return;
    }
    const char* const variable = std::getenv("_APP_SHARE_DIR");
    const std::string share = words_.share.empty() && variable != nullptr ? variable : words_.share;
    if (share.empty()) {
        FailUsage("no share directory: give --share DIR or --socket PATH, or set _APP_SHARE_DIR");
    }
    invocation_.socketPath = share + "/" + kControlSocketName;
}

void CommandLine::ChooseTimes() {
    const auto milliseconds = [](double seconds) {
        return std::chrono::milliseconds(static_cast<int64_t>(seconds * 1000));
    };
    invocation_.timeout = milliseconds(words_.timeoutSeconds);
    if (parser_.get_subcommand("status")->count("--watch") > 0) {
        invocation_.watchInterval = milliseconds(words_.watchSeconds);
    }
}

// A slip in the rest of the command line may hide the command: `--share $UNSET health`.
bool CommandLine::AsksForHealth(int argc, char* argv[]) const {
    const std::vector<CLI::App*> commands = parser_.get_subcommands();
    return commands.empty() ? std::find(argv, argv + argc, std::string("health")) != argv + argc
                            : commands.front()->get_name() == "health";
}

std::optional<Invocation> CommandLine::Read(int argc, char* argv[]) {
    try {
        return Parse(argc, argv);
    } catch (const ControlError& error) {
        // As an answer about the health, 2 says that a category cannot be written.
        if (AsksForHealth(argc, argv)) {
            throw ControlError(ControlExit::NoAnswer, error.what());
        }
        throw;
    }
}

std::optional<Invocation> CommandLine::Parse(int argc, char* argv[]) {
    try {
        parser_.parse(argc, argv);
    } catch (const CLI::Success& request) {
        parser_.exit(request, std::cout, std::cerr);
        if (!std::cout.flush()) {
            throw ControlError(ControlExit::Refused, "the output could not be written");
        }
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        FailUsage(error.what());
    }
    if (words_.action == "on" || words_.action == "off") {
        invocation_.request["on"] = words_.action == "on";
    }
    if (parser_.get_subcommands().empty()) {
        FailUsage("no command");
    }
    const CLI::App* const command = parser_.get_subcommands().front();
    if (command->get_name() == "level") {
        CompleteLevel(command);
    } else if (command->get_name() == "module") {
        CompleteModule();
    } else if (command->get_name() == "mode") {
        invocation_.request["mode"] = ReadDecimal(words_.number).value();
    } else if (command->get_name() == "health") {
        invocation_.exitsByHealth = true;
    } else if (!words_.category.empty()) {
        invocation_.request["category"] = words_.category;
    }
    ChooseSocket();
    ChooseTimes();
    return invocation_;
}

}  // namespace

std::optional<Invocation> ReadInvocation(int argc, char* argv[]) {
    return CommandLine().Read(argc, argv);
}

}  // namespace NS_REFERENCE_HOST
