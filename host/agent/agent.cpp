// One run of the agent.
#include "agent/agent.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "agent/agenterror.h"
#include "agent/bundleloader.h"
#include "agent/configuredbundles.h"
#include "agent/fatalsignals.h"
#include "agent/standardinput.h"
#include "agent/workwatch.h"
#include "platform/hostcontrol.h"
#include "util/selfutilcommon.h"

namespace NS_REFERENCE_HOST {

namespace {

constexpr char kShareVariable[] = "_APP_SHARE_DIR";

// The platform treats a missing file as an empty one. For the operator it is a different mistake.
std::string FindConfiguration() {
    std::string path =
        NS_UTIL::SelfUtilCommon::getEnvValue(kShareVariable) + "/conf/corba_agent.cfg";
    std::error_code error;
    if (!std::filesystem::exists(path, error)) {
        throw AgentError(ExitCode::BadConfiguration, "there is no configuration file " + path);
    }
    return path;
}

// The platform and the bundles find all files below the directory in this variable.
void SetShareDirectory(const std::string& directory) {
    if (!directory.empty()) {
        setenv(kShareVariable, directory.c_str(), 1);
    } else if (NS_UTIL::SelfUtilCommon::getEnvValue(kShareVariable).empty()) {
        throw AgentError(ExitCode::BadConfiguration,
                         "no share directory: give --share DIR or set _APP_SHARE_DIR");
    }
}

}  // namespace

Agent::Agent(const AgentOptions& options) : options_(options) {
    SetShareDirectory(options_.shareDirectory);
    if (!options_.logProxy) {
        SetLogProxyProvider(nullptr);
    }
}

Traffic Agent::ChooseTraffic() const {
    if (options_.traffic != Traffic::Auto) {
        return options_.traffic;
    }
    switch (LookAtInput(STDIN_FILENO, signals_.Descriptor())) {
        case StandardInput::HasData:
            return Traffic::Input;
        case StandardInput::Interrupted:
            return Traffic::Auto;
        default:
            return Traffic::Sample;
    }
}

ExitCode Agent::Run() {
    ConfiguredBundles bundles(FindConfiguration());
    const Traffic traffic = ChooseTraffic();
    if (traffic == Traffic::Auto) {
        return ExitCode::Done;
    }
    if (traffic == Traffic::Input) {
        bundles.Add("qv_line_feed", options_.lineFeedArguments);
    } else if (traffic == Traffic::Sample) {
        bundles.Add("qv_sample_traffic", options_.sampleArguments);
    }
    BundleLoader loader;
    for (const BundleEntry& entry : bundles.Entries()) {
        loader.Load(entry);
    }
    const bool worked = Serve(loader);
    const bool stopped = loader.StopAll();
    if (options_.summary) {
        summary_.Print(std::cout);
    }
    if (!worked) {
        return ExitCode::WorkFailed;
    }
    return stopped ? ExitCode::Done : ExitCode::BadStop;
}

bool Agent::Serve(const BundleLoader& loader) {
    const auto fatalSignals = options_.writeQueuesOnCrash ? FatalSignals::Watch() : nullptr;
    WorkWatch watch(signals_.Descriptor());
    for (const auto& bundle : loader.Bundles()) {
        if (const WorkingBundle* const work = bundle->FindWork()) {
            watch.Add(bundle->Name(), *work);
        }
    }
    const bool hasClients = watch.IsPending();
    std::fprintf(stderr, "qv_agent: serving, process %d\n", static_cast<int>(getpid()));
    if (watch.WaitForWork() && (options_.keepRunning || !hasClients)) {
        if (hasClients) {
            std::fprintf(stderr, "qv_agent: the clients are done; SIGINT or SIGTERM ends it\n");
        }
        watch.WaitForStop();
    }
    return !watch.HasFailed();
}

}  // namespace NS_REFERENCE_HOST
