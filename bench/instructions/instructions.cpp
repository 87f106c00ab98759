// Calls the service on each path, to be counted by callgrind: it collects, and writes a dump, for
// each call of qv_measured_calls. Prints the name of each path and its number of calls, in order.
// The only argument is an empty directory. bench/instructions.sh runs it.
#include <cstdio>
#include <exception>
#include <string>

#include "harness/sample.h"
#include "qv_base_log/loglevel.h"
#include "service/servicebundle.h"

namespace NS_BENCH {

namespace {

using NS_LOG_SERVICE1::LOG_LEVEL_1;
using NS_LOG_SERVICE1::LOG_LEVEL_3;

// A queue that is filled by each round of queued records: what its writing out takes belongs to
// the records. It ends with the notice that it was full.
constexpr int kCalls = 2048;

}  // namespace

struct Path {
    const char* name;
    bool formats;
    int level;
    bool queued;
};

constexpr Path kPaths[] = {
    {"Log direct", false, LOG_LEVEL_1, false},    {"LogFormat direct", true, LOG_LEVEL_1, false},
    {"Log kept back", false, LOG_LEVEL_3, false}, {"LogFormat kept back", true, LOG_LEVEL_3, false},
    {"Log queued", false, LOG_LEVEL_1, true},     {"LogFormat queued", true, LOG_LEVEL_1, true},
};

struct Calls {
    NS_LOG_SERVICE1::LoggerIF& logger;
    const std::string file = kFile;
    const std::string function = kFunction;
    const std::string text = kReadyText;

    void Make(const Path& path) const {
        for (int i = 0; i < kCalls; ++i) {
            if (path.formats) {
                logger.LogFormat(file, function, kLine, path.level, kFormat, 100000 + i, kAnswer,
                                 kSeconds);
            } else {
                logger.Log(file, function, kLine, path.level, text);
            }
        }
    }
};

}  // namespace NS_BENCH

extern "C" __attribute__((noinline)) void qv_measured_calls(const NS_BENCH::Calls& calls,
                                                            const NS_BENCH::Path& path) {
    calls.Make(path);
    asm volatile("");
}

int main(int argc, char** argv) {
    using namespace NS_BENCH;
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    try {
        const ServiceBundle bundle(argv[1], "queuebuflength = " + std::to_string(kCalls) + "\n");
        EnterSampleOperation();
        const Calls calls{*bundle.Log().GetLogger("bench", "instructions", "corbaoper")};
        for (const Path& path : kPaths) {
            bundle.Maintenance().SetQueuedOutput(path.queued);
            calls.Make(path);  // memory that is allocated once, and code that is bound once
            qv_measured_calls(calls, path);
            std::printf("%d %s\n", kCalls, path.name);
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
