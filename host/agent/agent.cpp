// One run of the agent.
#include "agent/agent.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <system_error>

#include "agent/agentdescription.h"
#include "agent/agenterror.h"
#include "agent/bundleloader.h"
#include "agent/configurationcheck.h"
#include "agent/configuredbundles.h"
#include "agent/directorylock.h"
#include "agent/fatalsignals.h"
#include "agent/filepolicy.h"
#include "agent/logfilesummary.h"
#include "agent/servicekeeper.h"
#include "agent/standardinput.h"
#include "agent/ticks.h"
#include "agent/workwatch.h"
#include "bundlemgr/logsupport.h"
#include "bundlemgr/processexception.h"
#include "common/describeexception.h"
#include "common/report.h"
#include "platform/configfile.h"
#include "platform/hostcontrol.h"
#include "util/selfutilcommon.h"

namespace NS_REFERENCE_HOST {

namespace {

using NS_BUNDLEMGR1::CorbaConfigItems;

constexpr char kShareVariable[] = "_APP_SHARE_DIR";
constexpr std::chrono::seconds kLookInterval{1};

std::string ShareDirectory() {
    return NS_UTIL::SelfUtilCommon::getEnvValue(kShareVariable);
}

// The platform and the bundles find all files below the directory in this variable.
void SetShareDirectory(const std::string& directory) {
    if (!directory.empty()) {
        setenv(kShareVariable, directory.c_str(), 1);
    } else if (ShareDirectory().empty()) {
        throw AgentError(ExitCode::BadConfiguration,
                         "no share directory: give --share DIR or set _APP_SHARE_DIR");
    }
}

// The platform treats a missing file as an empty one. For the operator it is a different mistake.
std::string FindConfiguration(const std::string& shareDirectory) {
    SetShareDirectory(shareDirectory);
    std::string path = ConfigFilePath();
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) {
        return path;
    }
    if (errno == ENOENT || errno == ENOTDIR) {
        throw AgentError(ExitCode::BadConfiguration, "there is no configuration file " + path);
    }
    throw AgentError(ExitCode::BadConfiguration,
                     "the configuration file " + path +
                         " cannot be reached: " + std::generic_category().message(errno));
}

std::string ReadConfiguration(const std::string& path) {
    try {
        return ReadConfigText(path);
    } catch (const NS_BUNDLEMGR1::ProcessException& error) {
        throw AgentError(ExitCode::BadConfiguration, error.GetDescription());
    }
}

ConfiguredBundles::Items ReadItems() {
    ConfiguredBundles::Items items;
    try {
        CorbaConfigItems::Instance()->GetCorbaConfigItems(items);
    } catch (const NS_BUNDLEMGR1::ProcessException& error) {
        throw AgentError(ExitCode::BadConfiguration, error.GetDescription());
    }
    return items;
}

void WarnAboutConfiguration(const std::string& path) {
    const ConfigurationCheck check(path, ReadConfiguration(path), ShareDirectory());
    for (const std::string& warning : check.Warnings()) {
        Report("qv_agent", "configuration: " + warning);
    }
}

void WarnOfLostQueues() {
    Report("qv_agent",
           "--write-queues-on-crash is without effect: there is no logging service, or it is too "
           "old");
}

// Returns whether there is any work. A bundle that throws when it is asked has failed in its work.
bool AddWork(const BundleLoader& loader, WorkWatch& watch) {
    bool found = false;
    for (const auto& bundle : loader.Bundles()) {
        try {
            if (const WorkingBundle* const work = bundle->FindWork()) {
                found = true;
                watch.Add(bundle->Name(), *work);
            }
        } catch (...) {
            found = true;
            watch.NoteFailure(bundle->Name(), ExceptionText());
        }
    }
    return found;
}

}  // namespace

Agent::Agent(const AgentOptions& options)
    : options_(options), configuration_(FindConfiguration(options.shareDirectory)) {
    if (!options_.logProxy) {
        SetLogProxyProvider(nullptr);
    }
}

ExitCode Agent::CheckConfiguration() const {
    const ConfigurationCheck check(configuration_, ReadConfiguration(configuration_),
                                   ShareDirectory());
    check.Print(std::cout);
    if (!std::cout.flush()) {
        throw AgentError(check.HasErrors() ? ExitCode::BadConfiguration : ExitCode::WorkFailed,
                         "the output could not be written");
    }
    if (check.HasErrors()) {
        return ExitCode::BadConfiguration;
    }
    return check.HasWarnings() ? ExitCode::WorkFailed : ExitCode::Done;
}

std::optional<Traffic> Agent::ChooseTraffic() const {
    if (options_.traffic != Traffic::Auto && options_.traffic != Traffic::InputOrSample) {
        return options_.traffic;
    }
    switch (LookAtInput(STDIN_FILENO, signals_.StopDescriptor())) {
        case StandardInput::HasData:
            return Traffic::Input;
        case StandardInput::Interrupted:
            return std::nullopt;
        default:
            return options_.traffic == Traffic::Auto ? Traffic::None : Traffic::Sample;
    }
}

ExitCode Agent::Run() {
    if (options_.checkConfiguration) {
        return CheckConfiguration();
    }
    const DirectoryLock lock(ShareDirectory());
    // A mistake that is there already is told before the input is waited for.
    const ConfiguredBundles::Items items = ParseConfigText(ReadConfiguration(configuration_)).items;
    const ConfiguredBundles checked(configuration_, items);
    ReadFilePolicy(items);
    const std::optional<Traffic> traffic = ChooseTraffic();
    return traffic ? RunBundles(*traffic) : ExitCode::Done;
}

ExitCode Agent::RunBundles(Traffic traffic) const {
    const ConfiguredBundles::Items items = ReadItems();
    ConfiguredBundles bundles(configuration_, items);
    ServiceKeeper keeper(ReadFilePolicy(items));
    WarnAboutConfiguration(configuration_);
    // Where the service will write: it reads the item once, at its start.
    std::optional<LogFileSummary> summary;
    if (options_.summary) {
        summary.emplace(NS_BUNDLEMGR1::GetNBILogPath());
    }
    if (traffic == Traffic::Input) {
        bundles.Add("qv_line_feed", options_.lineFeedArguments);
    } else if (traffic == Traffic::Sample) {
        bundles.Add("qv_sample_traffic", options_.sampleArguments);
    }
    const AgentDescription description(configuration_);
    BundleLoader loader;
    for (const BundleEntry& entry : bundles.Entries()) {
        loader.Load(entry);
        keeper.SetPolicy();
    }
    const bool worked = Serve(loader, keeper);
    const bool stopped = loader.FinishAll([&keeper] { keeper.FinishOutput(); });
    if (summary) {
        summary->Print(std::cout);
    }
    if (!worked || keeper.HasLost()) {
        return ExitCode::WorkFailed;
    }
    return stopped ? ExitCode::Done : ExitCode::BadStop;
}

bool Agent::Serve(BundleLoader& loader, ServiceKeeper& keeper) const {
    std::unique_ptr<FatalSignals> fatalSignals;
    if (options_.writeQueuesOnCrash) {
        fatalSignals = FatalSignals::Watch();
        if (fatalSignals == nullptr) {
            WarnOfLostQueues();
        }
    }
    WorkWatch watch(signals_.StopDescriptor());
    const bool hasClients = AddWork(loader, watch);
    watch.ReactTo(signals_.ReopenDescriptor(), [this] {
        signals_.TakeReopen();
        ServiceKeeper::Reopen();
    });
    const Ticks ticks(kLookInterval);
    watch.ReactTo(ticks.Descriptor(), [&ticks, &keeper] {
        ticks.Take();
        keeper.Look();
    });
    std::fprintf(stderr, "qv_agent: serving, process %d\n", static_cast<int>(getpid()));
    if (watch.WaitForWork() && (options_.keepRunning || !hasClients)) {
        if (hasClients) {
            std::fprintf(stderr, "qv_agent: the clients are done; SIGINT or SIGTERM ends it\n");
        }
        watch.WaitForStop();
    }
    loader.StopServices();
    watch.TakeOutEnded();
    return !watch.HasFailed();
}

}  // namespace NS_REFERENCE_HOST
