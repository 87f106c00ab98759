// The command line of the agent program.
#include "agent/agentoptions.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <map>

#include "agent/agenterror.h"
#include "version/buildversion.h"

namespace NS_REFERENCE_HOST {

namespace {

constexpr char kDescription[] =
    "The agent: loads the bundles that its configuration lists, serves until its clients are done\n"
    "or until SIGINT or SIGTERM, and stops the bundles in order.";

constexpr char kFooter[] =
    "The configuration is DIR/conf/corba_agent.cfg, the log files lie in DIR/log.\n"
    "\n"
    "Its item \"bundles\" lists the bundles to load, in order and separated by commas. An entry "
    "is\n"
    "NAME, for libNAME.so in the bundle directory (" QV_BUNDLE_DIRECTORY
    "\n"
    "or ../lib, both from the program's directory) or where the system looks for libraries; or\n"
    "NAME=PATH. The item \"NAME.arguments\" holds the arguments of a bundle, separated by blanks.\n"
    "\n"
    "SIGHUP has the log files opened again. Diagnostics, also those of the bundles, go to "
    "standard\n"
    "error.\n"
    "\n"
    "Exit codes:\n"
    "  0  the work is done, or SIGINT or SIGTERM asked for the end\n"
    "  1  a client could not do all of its work (unreadable input, say), records were lost, or\n"
    "     the system lacked something (memory, descriptors, space for the lock file)\n"
    "  2  the command line is wrong\n"
    "  3  the configuration cannot be used\n"
    "  4  a bundle could not be loaded: no library, no factory, an unresolved symbol\n"
    "  5  a bundle refused to start\n"
    "  6  a bundle could not be stopped in order\n"
    "  7  another agent serves the directory";

const std::map<std::string, Traffic> kTraffic = {{"auto", Traffic::Auto},
                                                 {"input", Traffic::Input},
                                                 {"sample", Traffic::Sample},
                                                 {"input-or-sample", Traffic::InputOrSample},
                                                 {"none", Traffic::None}};

// The names that the logging service knows.
const std::vector<std::string> kCategories = {
    "debug",    "corbadebug", "corbanotify",        "corba_alarm",
    "corbasys", "corbaoper",  "corba_internal_oper"};

std::string DescribeCategory() {
    std::string text = "Log category of the input (default: corbaoper):\n" + kCategories.front();
    for (std::size_t i = 1; i < kCategories.size(); ++i) {
        text += (i == 4 ? ",\n" : ", ") + kCategories[i];
    }
    return text;
}

// An empty one is a variable of a script that is not set: another agent's directory is not meant.
const CLI::Validator kNotEmpty(
    [](const std::string& text) { return std::string(text.empty() ? "it is empty" : ""); }, "");

// Passes the options of a client bundle on unchanged.
void PassOn(const CLI::App& parser, const std::string& option,
            std::vector<std::string>& arguments) {
    const CLI::Option* const given = parser.get_option(option);
    if (given->count() > 0) {
        arguments.push_back(option);
        arguments.push_back(given->as<std::string>());
    }
}

void DeclareGeneral(CLI::App& parser, AgentOptions& options) {
    parser.set_version_flag("--version", std::string("qv_agent ") + NS_VERSION::kBuildVersion,
                            "Print the version and exit");
    parser
        .add_option("--share,--config", options.shareDirectory,
                    "Directory of configuration and log files\n"
                    "(default: the variable _APP_SHARE_DIR)")
        ->type_name("DIR")
        ->check(kNotEmpty);
    parser
        .add_option_function<std::string>(
            "--traffic",
            [&options](const std::string& name) { options.traffic = kTraffic.at(name); },
            "Client to run: input (log the lines of standard\n"
            "input), sample, none, input-or-sample: the input\n"
            "when there is any, else the sample, or auto: the\n"
            "input when there is any, else none (default: auto)")
        ->type_name("WHAT")
        ->check(CLI::IsMember(&kTraffic).description(""));
    parser.add_flag_callback(
        "--sample", [&options] { options.traffic = Traffic::Sample; }, "As --traffic sample");
    parser.add_flag("--keep-running", options.keepRunning,
                    "Serve until SIGINT or SIGTERM even when the\nclients are done");
    parser.add_flag_callback(
        "--no-log-proxy", [&options] { options.logProxy = false; },
        "Give the bundles no diagnostic channel, so that\nthey use their fallback");
    parser.add_flag("--check-config", options.checkConfiguration,
                    "Print what each item of the configuration means\n"
                    "and what is wrong with it, and exit: 0 when\n"
                    "nothing is, 1 with warnings, 3 when the agent\n"
                    "would not start");
    parser.add_flag("--write-queues-on-crash", options.writeQueuesOnCrash,
                    "On a fatal signal, write out what is queued, within\n"
                    "two seconds, before the agent dies of it");
    parser.add_flag("--summary", options.summary,
                    "At the end, print path, size and last record of\neach log file written");
}

void DeclareClients(CLI::App& parser) {
    parser.add_option("--category")
        ->description(DescribeCategory())
        ->type_name("NAME")
        ->check(CLI::IsMember(kCategories).description(""));
    parser.add_option("--level", "Log level of the input, -2 to 3 (default: 1)")
        ->type_name("N")
        ->check(CLI::Range(-2, 3).description(""));
    parser.add_option("--threads", "Sessions of the sample at a time (default: 4)")
        ->type_name("N")
        ->check(CLI::Range(1, 256).description(""));
    parser.add_option("--operations", "Operations in each of them (default: 25)")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000).description(""));
}

}  // namespace

std::optional<AgentOptions> ReadCommandLine(int argc, char* argv[]) {
    AgentOptions options;
    CLI::App parser(kDescription, "qv_agent");
    parser.footer(kFooter);
    parser.set_help_flag("-h,--help", "Print this and exit");
    parser.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    DeclareGeneral(parser, options);
    DeclareClients(parser);
    try {
        parser.parse(argc, argv);
    } catch (const CLI::Success& request) {
        parser.exit(request, std::cout, std::cerr);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw AgentError(ExitCode::BadCommandLine,
                         std::string(error.what()) + " (--help lists the options)");
    }
    PassOn(parser, "--category", options.lineFeedArguments);
    PassOn(parser, "--level", options.lineFeedArguments);
    PassOn(parser, "--threads", options.sampleArguments);
    PassOn(parser, "--operations", options.sampleArguments);
    return options;
}

}  // namespace NS_REFERENCE_HOST
