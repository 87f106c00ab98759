// qvlog collect
#include <malloc.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <thread>
#include <vector>

#include "command/fleetcommands.h"
#include "command/stoporders.h"
#include "command/targetwords.h"
#include "query/badrequest.h"
#include "store/migration.h"
#include "stream/collector.h"

namespace NS_LOG_FLEET {
namespace {

using NS_LOG_READER::BadRequest;

constexpr int kMostTries = 60;

struct CollectWords {
    std::string store;
    StreamAddress stream;
    uint32_t shards = 1;
    unsigned workers = 2;
    std::vector<uint32_t> chosen;
    StreamSettings settings;
    bool migrates = false;
    bool makesStreams = false;
    bool once = false;
};

std::vector<std::unique_ptr<Collector>> runningCollectors;

void StopCollectors(int) {
    for (const auto& collector : runningCollectors) {
        collector->Stop();
    }
}

// Not one of them may go on alone: that would look as if all was well.
bool RunCollector(Collector& collector) {
    try {
        return collector.Run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qvlog: %s\n", error.what());
        StopCollectors(0);
        return false;
    }
}

// Returns whether all of them ended well.
bool RunThreads() {
    const StopOrders orders(&StopCollectors);
    std::vector<std::thread> threads;
    threads.reserve(runningCollectors.size());
    std::atomic<bool> isFine{true};
    for (const auto& collector : runningCollectors) {
        threads.emplace_back([&isFine, &collector] {
            if (!RunCollector(*collector)) {
                isFine = false;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return isFine;
}

int RunCollectors() {
    // The threads pass large messages on to each other. Kept for later by each thread's allocator,
    // they would take twice the memory.
    ::mallopt(M_MMAP_THRESHOLD, 128 * 1024);
    const bool isFine = RunThreads();
    // Not when the program exits: the libraries below the connections are torn down by then.
    runningCollectors.clear();
    return isFine ? 0 : 2;
}

std::vector<uint32_t> ChosenShards(const CollectWords& words) {
    std::vector<uint32_t> shards = words.chosen;
    for (uint32_t shard = 0; words.chosen.empty() && shard < words.shards; ++shard) {
        shards.push_back(shard);
    }
    return shards;
}

void PrepareStore(const std::string& store) {
    Connection connection(store);
    const int applied = Migrate(connection);
    std::printf("%d of %zu changes of the tables were made\n", applied, AllMigrations().size());
}

// Servers that have just been started need some seconds to find each other.
void PrepareStreams(const CollectWords& words) {
    StreamSettings settings = words.settings;
    for (int tries = 0; settings.shard < words.shards;) {
        try {
            StreamConnection connection(words.stream);
            MakeStream(connection, settings);
            ++settings.shard;
        } catch (const StreamError& error) {
            if (!error.IsPassing() || ++tries == kMostTries) {
                throw;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(500));
        }
    }
}

int RunCollect(const CollectWords& words) {
    if (words.store.empty() && (words.migrates || !words.makesStreams)) {
        throw BadRequest("collect: into which store? --to postgresql://...");
    }
    if (!words.store.empty()) {
        DemandStoreAddress(words.store);
    }
    if (words.migrates) {
        PrepareStore(words.store);
    }
    if (words.stream.servers.empty()) {
        if (!words.migrates) {
            throw BadRequest("collect: from which stream? --from nats://...");
        }
        return 0;
    }
    if (words.makesStreams) {
        PrepareStreams(words);
    }
    if (words.store.empty()) {
        return 0;
    }
    CollectSettings settings;
    settings.stream = words.stream;
    settings.store = words.store;
    settings.once = words.once;
    for (const uint32_t shard : ChosenShards(words)) {
        settings.shard = shard;
        // While one waits for the disk to have its rows, another one's go to the store.
        for (unsigned worker = 0; worker < words.workers; ++worker) {
            runningCollectors.push_back(std::make_unique<Collector>(settings));
        }
    }
    return RunCollectors();
}

}  // namespace

void AddCollect(const NS_LOG_READER::CommandAdder& add) {
    const auto words = std::make_shared<CollectWords>();
    CLI::App* const app =
        add("collect", "Store what shippers send",
            [words](const NS_LOG_READER::Options&) { return RunCollect(*words); });
    app->add_option("--to", words->store, "The store: postgresql://...")->type_name("URL");
    app->add_option("--from", words->stream.servers, "The stream: nats://HOST:PORT,nats://...")
        ->type_name("URL");
    app->add_flag("--migrate", words->migrates, "Make or change the store's tables first");
    app->add_flag("--make-streams", words->makesStreams, "Make the streams that are missing first");
    app->add_option("--replicas", words->settings.replicas,
                    "How many servers keep a stream that is made (default: 1)")
        ->type_name("N");
    app->add_option("--max-bytes", words->settings.maxBytes,
                    "How much a stream that is made holds: 500M, 20G")
        ->type_name("SIZE")
        ->transform(CLI::AsSizeValue(false));
    app->add_option("--max-age", words->settings.maxSeconds,
                    "After how many seconds it forgets what it holds")
        ->type_name("SECONDS");
    AddStreamOptions(*app, words->stream, words->shards);
    app->add_option("--shard", words->chosen, "Collect only this one; may be given several times")
        ->type_name("N")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app->add_option("--workers", words->workers,
                    "How many connections to the store collect a shard (default: 2)")
        ->type_name("N")
        ->check(CLI::Range(1U, 64U));
    app->add_flag("--once", words->once, "End when nothing more comes");
}

}  // namespace NS_LOG_FLEET
