// Every operation of every interface on many threads at once; at the end the books have to close.
//     qv_stress [--operations N] [--threads N] [--seed N] [--soak MINUTES]
#include <ace/Service_Object.h>
#include <json/json.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "logimpl.h"
#include "qv_base_log/loggerif.h"
#include "qv_base_log/logmaintenance.h"
#include "qv_base_log/logservice.h"
#include "stress/books.h"
#include "stress/stalls.h"
#include "support/asnmessages.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/onthreads.h"
#include "support/temporarydirectory.h"
#include "util/threadcontext.h"

using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;

namespace {

struct Options {
    unsigned operations = 1000;  // of each thread
    unsigned threads = 16;
    unsigned seed = 1;
    double soakMinutes = 0;
};

// The service as the bundle manager loads it, for the length of a block.
class Service {
  public:
    Service() : object_(_make_qv_base_log(&free_)) {
        if (object_->init(0, nullptr) != 0) {
            throw std::runtime_error("the service does not start");
        }
    }
    ~Service() {
        static_cast<qv_base_log*>(object_)->StopService();
        object_->fini();
        free_(object_);
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    static LogMaintenanceInterface& Maintenance() { return *FindLogMaintenance(); }

  private:
    ACE_Service_Object_Exterminator free_ = nullptr;
    ACE_Service_Object* object_;
};

// One thread of the stress.
class Client {
  public:
    Client(const Options& options, unsigned number, StressBooks& books, Stalls& stalls)
        : random_(options.seed * 1000 + number), number_(number), books_(books), stalls_(stalls) {}

    void Run(unsigned operations) {
        const NS_UTIL::ThreadContextScope scope(
            NS_UTIL::ThreadContextInfo(static_cast<int>(number_), "stress", "user", "id"));
        for (unsigned i = 0; i < operations; ++i) {
            const auto choice = random_() % 100;
            if (choice < 70) {
                stalls_.calls.Measure([this] { LogSomething(); });
            } else {
                stalls_.commands.Measure(
                    [this, choice] { choice < 85 ? UseTheService() : Administer(); });
            }
        }
    }

  private:
    LoggerIF& AnyLogger(size_t& category) {
        do {
            category = random_() % kStressCategories.size();
        } while (category == kAlarms);
        return *FindLogService()->GetLogger("stress", std::to_string(random_() % 5),
                                            kStressCategories[category]);
    }

    std::string NewText() {
        return "#" + std::to_string(number_) + "." + std::to_string(++texts_) + " " +
               std::string(random_() % 200, 'x');
    }

    void LogSomething() {
        size_t category = 0;
        LoggerIF& logger = AnyLogger(category);
        switch (random_() % 12) {
            case 0:
                LogAlarms();
                return;
            case 1:
                Dump(logger, category, true);
                return;
            case 2:
                Dump(logger, category, false);
                return;
            case 3:
                logger.LogFormat("f.cpp", "F", 1, 2, "%s of %d", NewText().c_str(), 7);
                break;
            default:
                logger.Log("f.cpp", "F", 1, static_cast<int>(random_() % 7) - 2, NewText());
        }
        books_.Give(category);
    }

    void LogAlarms() {
        Json::Value alarms(Json::arrayValue);
        for (unsigned i = 0; i <= texts_ % 3; ++i) {
            alarms.append(NewText());
        }
        FindLogService()
            ->GetLogger("stress", "alarms", kStressCategories[kAlarms])
            ->LogAlarm("f.cpp", "F", 1, alarms);
        books_.Give(kAlarms, alarms.size());
    }

    // Its text is not the record's alone: a trace may repeat it.
    void Dump(LoggerIF& logger, size_t category, bool masked) {
        auto message = TextMessage("Stress", "message of a thread");
        masked ? logger.LogAsnTrace("f.cpp", "F", 1, message)
               : logger.PrintAsn("f.cpp", "F", 1, message);
        books_.Give(category);
    }

    void UseTheService() {
        size_t category = 0;
        LoggerIF& logger = AnyLogger(category);
        LogSvcInterface& service = *FindLogService();
        const auto level = static_cast<unsigned>(random_() % 4);
        switch (random_() % 8) {
            case 0:
                logger.EnableLevel(level);
                break;
            case 1:
                logger.DisableLevel(level);
                break;
            case 2:
                logger.IsLevelEnabled(level);
                break;
            case 3:
                service.SetModuleSwitch(static_cast<unsigned>(random_() % 9), random_() % 2 == 0);
                break;
            case 4:
                service.GetModuleSwitch(static_cast<unsigned>(random_() % 9));
                break;
            case 5:
                service.SetOutputMode(1);
                break;
            case 6:
                service.IsLogOutputPara();
                break;
            default:
                service.IsLevelEnabled(level);
        }
    }

    void Administer() {
        LogMaintenanceInterface& maintenance = Service::Maintenance();
        const size_t category = random_() % kStressCategories.size();
        const auto level = static_cast<unsigned>(random_() % 4);
        const bool on = random_() % 2 == 0;
        const auto operation = random_() % 16;
        if (operation < 8) {
            Order(maintenance, operation, category, level, on);
        } else {
            Ask(maintenance, operation);
        }
    }

    void Order(LogMaintenanceInterface& maintenance, uint_fast32_t operation, size_t category,
               unsigned level, bool on) {
        switch (operation) {
            case 0:
                maintenance.FlushAll();
                break;
            case 1:
                maintenance.OutputAll(kStressCategories[category]);
                books_.OrderDump(category);
                break;
            case 2:
                maintenance.SetQueuedOutput(on);
                break;
            case 3:
                maintenance.SetLevel(level, on);
                break;
            case 4:
                maintenance.SetLoggerLevel("stress", "1", kStressCategories[category], level, on);
                break;
            case 5:
                maintenance.SetQueueBytes(on ? 0 : 20000);
                break;
            case 6:
                maintenance.Reopen(on ? "" : kStressCategories[category]);
                break;
            // Under the other policy two files of one second have one name, and one is lost.
            default:
                if (maintenance.GetFilePolicy() == LOG_FILE_POLICY_KEEP_RECORDS) {
                    maintenance.Rotate(kStressCategories[category]);
                }
        }
    }

    void Ask(LogMaintenanceInterface& maintenance, uint_fast32_t operation) {
        switch (operation) {
            case 8:
                maintenance.GetLoggers(loggers_);
                break;
            case 9:
                maintenance.GetChannels(channels_);
                break;
            case 10:
                maintenance.GetModules(modules_);
                break;
            case 11:
                maintenance.GetChannelBooks(channelBooks_);
                break;
            case 12:
                maintenance.GetSwitches();
                break;
            case 13:
                maintenance.GetOutputMode();
                break;
            case 14:
                maintenance.HasPeriodicOutput();
                break;
            default:
                maintenance.GetQueueBytes();
        }
    }

    std::minstd_rand0 random_;
    const unsigned number_;
    unsigned texts_ = 0;
    StressBooks& books_;
    Stalls& stalls_;
    std::vector<LoggerStatus> loggers_;
    std::vector<ChannelStatus> channels_;
    std::vector<ModuleStatus> modules_;
    std::vector<ChannelBooks> channelBooks_;
};

// The service's own books, category by category. Returns those that do not close.
std::string CompareOwnBooks() {
    std::vector<ChannelBooks> all;
    Service::Maintenance().GetChannelBooks(all);
    std::string complaints = all.size() == kStressCategories.size() ? "" : "books are missing\n";
    for (const ChannelBooks& books : all) {
        if (books.recordsReceived != books.recordsWritten + books.recordsDumped +
                                         books.recordsEvicted + books.recordsDropped +
                                         books.recordsOverwritten + books.recordsQueued +
                                         books.recordsCached) {
            complaints += "the books of " + books.category + " do not close\n";
        }
    }
    return complaints;
}

// A service from its start to its end under the stress. Returns what does not agree.
std::string RunOnce(const Options& options, LogFilePolicy policy) {
    const TemporaryDirectory directory;
    const ScopedVariable share("_APP_SHARE_DIR", directory.Path());
    WriteFile(directory.Path("conf/corba_agent.cfg"),
              "logfilesize = 2000000000\nlogfilecount = 5\nqueuebuflength = 40\n"
              "filterbuflength = 20\nlogtimeinterval = 1\nlogswitch = 1,1,0,0\noutputmode = 0\n"
              "bEnableAsnLog = 1\nbLogOutputPara = 0\nbEnableAsnTrace = 0\n");
    StressBooks books;
    std::vector<ChannelStatus> channels;
    std::string complaints;
    {
        const Service service;
        Service::Maintenance().SetFilePolicy(policy);
        {
            Stalls stalls;
            OnThreads(options.threads, [&](unsigned number) {
                Client(options, number, books, stalls).Run(options.operations);
            });
            complaints = stalls.Compare();
            std::cout << stalls.Describe() << std::endl;
        }
        Service::Maintenance().SetQueuedOutput(false);
        Service::Maintenance().FlushAll();
        Service::Maintenance().GetChannels(channels);
        complaints += CompareOwnBooks();
    }
    return complaints + books.Compare(channels, directory.Path("log"));
}

// What the process holds now.
struct Holdings {
    long memory = 0;  // pages
    size_t descriptors = 0;
    size_t threads = 0;
};
Holdings HeldNow() {
    Holdings held;
    long total = 0;
    std::ifstream("/proc/self/statm") >> total >> held.memory;
    held.descriptors = ListFiles("/proc/self/fd").size();
    held.threads = ListFiles("/proc/self/task").size();
    return held;
}

// Again and again until the time is over. Memory may settle in the first rounds; after that it has
// to stay, and descriptors and threads from the first round on.
std::string Soak(Options options) {
    mallopt(M_ARENA_MAX, 1);  // each thread's own arena would be a growth of the C library's
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::duration<double>(options.soakMinutes * 60);
    Holdings first;
    Holdings settled;
    for (int round = 1; std::chrono::steady_clock::now() < end; ++round) {
        ++options.seed;
        const std::string complaints = RunOnce(
            options, round % 2 == 0 ? LOG_FILE_POLICY_CONTRACT : LOG_FILE_POLICY_KEEP_RECORDS);
        const Holdings now = HeldNow();
        std::cout << "round " << round << ": " << now.memory * 4 << " KiB, " << now.descriptors
                  << " descriptors, " << now.threads << " threads" << std::endl;
        first = round == 1 ? now : first;
        settled = round <= 20 ? now : settled;
        if (!complaints.empty()) {
            return complaints;
        }
        if (now.descriptors != first.descriptors || now.threads != first.threads) {
            return "descriptors or threads are left over\n";
        }
        if (now.memory > settled.memory * 5 / 4 + 2048) {
            return "the memory grows\n";
        }
    }
    return "";
}

Options ParseOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string name = argv[i];
        const double value = std::atof(argv[i + 1]);
        if (name == "--operations") {
            options.operations = static_cast<unsigned>(value);
        } else if (name == "--threads") {
            options.threads = static_cast<unsigned>(value);
        } else if (name == "--seed") {
            options.seed = static_cast<unsigned>(value);
        } else if (name == "--soak") {
            options.soakMinutes = value;
        } else {
            throw std::runtime_error("unknown option " + name);
        }
    }
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const Options options = ParseOptions(argc, argv);
        const std::string complaints = options.soakMinutes > 0
                                           ? Soak(options)
                                           : RunOnce(options, LOG_FILE_POLICY_CONTRACT) +
                                                 RunOnce(options, LOG_FILE_POLICY_KEEP_RECORDS);
        std::cerr << complaints;
        return complaints.empty() ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << "qv_stress: " << error.what() << "\n";
        return 2;
    }
}
