// The cases.
#include "table/case.h"

namespace NS_BENCH {

namespace {

Entrant Floor(const std::string& label, const std::string& way) {
    return {label, Role::kFloor, "qv_bench_floors", {"way=" + way}};
}

Entrant Service(const std::string& way) {
    return {"service, " + way, Role::kService, "qv_bench_service", {"way=" + way}};
}

Entrant Peer(const std::string& label, const std::string& program) {
    return {label, Role::kPeer, program, {}};
}

const Entrant kSpdlog = Peer("spdlog", "qv_bench_spdlog");
const Entrant kLog4cplus = Peer("log4cplus", "qv_bench_log4cplus");
const Entrant kBoostLog = Peer("Boost.Log", "qv_bench_boostlog");
const Entrant kGlog = Peer("glog", "qv_bench_glog");

// What rotation is compared with.
Entrant WithoutRotation(const std::string& label, const std::string& program,
                        const std::string& way) {
    return {
        label + " without rotation", Role::kReference, program, {"way=" + way, "subject=direct"}};
}

std::string Threads(int count) {
    return std::to_string(count) + (count == 1 ? " thread" : " threads");
}

void AddDirect(std::vector<Case>& cases, int threads, int categories, bool inMemory) {
    Case direct;
    direct.name = std::string(inMemory ? "direct-memory-" : "direct-") + std::to_string(threads) +
                  (categories > 1 ? "-all" : "");
    direct.title = "direct output, " + Threads(threads) +
                   (categories > 1 ? " over all categories"
                    : threads > 1  ? ", one category"
                                   : "");
    direct.inMemory = inMemory;
    direct.arguments = {"subject=direct", "threads=" + std::to_string(threads),
                        "categories=" + std::to_string(categories)};
    direct.entrants = {Floor("floor: mutex, one write", "locked"),
                       Floor("floor: group commit", "group"),
                       Service("Log"),
                       Service("LogFormat"),
                       kSpdlog,
                       kLog4cplus,
                       kBoostLog};
    if (categories == 1) {
        direct.entrants.push_back(kGlog);
    }
    cases.push_back(direct);
}

void AddQueued(std::vector<Case>& cases, const std::string& subject, int threads) {
    Case queued;
    queued.name = subject + "-" + std::to_string(threads);
    queued.title = (subject == "paced" ? "queued output, bursts of 64 with 1 ms rest, "
                                       : "queued output, saturated, until all is written, ") +
                   Threads(threads);
    queued.durationFactor = 3;  // a queue has to be filled several times
    queued.metric = subject == "paced" ? "p50" : "ns";
    queued.arguments = {"subject=" + subject, "threads=" + std::to_string(threads)};
    queued.entrants = {Floor("floor: bytes, handed over full", "ring"),
                       Service("Log"),
                       Service("LogFormat"),
                       kSpdlog,
                       kLog4cplus,
                       kBoostLog};
    cases.push_back(queued);
}

void AddKept(std::vector<Case>& cases, int threads) {
    cases.push_back({"kept-" + std::to_string(threads),
                     "kept back in a cache of 128, " + Threads(threads),
                     "ns",
                     false,
                     {"subject=kept", "threads=" + std::to_string(threads)},
                     {Floor("floor: slots used again", "slots"), Service("Log"),
                      Service("LogFormat"), kSpdlog}});
}

void AddFiles(std::vector<Case>& cases) {
    cases.push_back({"dump",
                     "dump of a full cache of 128, per dump",
                     "p50",
                     false,
                     {"subject=dump"},
                     {Floor("floor: slots, one write", "slots"), Service("LogFormat"), kSpdlog}});
    cases.push_back({"rotation",
                     "direct output with rotation at 4 MiB, 1 thread",
                     "ns",
                     false,
                     {"subject=rotation"},
                     {WithoutRotation("floor", "qv_bench_floors", "locked"),
                      Floor("floor: mutex, one write", "locked"),
                      WithoutRotation("service, Log", "qv_bench_service", "Log"), Service("Log"),
                      Service("LogFormat"), kSpdlog, kLog4cplus, kBoostLog, kGlog}});
}

Case FindingLoggers(const std::string& name, const std::string& title,
                    const std::vector<std::string>& sizes) {
    std::vector<std::string> arguments{"subject=getlogger"};
    arguments.insert(arguments.end(), sizes.begin(), sizes.end());
    return {"getlogger-" + name,
            "finding one of " + title,
            "ns",
            true,
            arguments,
            {Floor("floor: mutex, table", "table"), Service("GetLogger"), kSpdlog, kLog4cplus}};
}

void AddLoggers(std::vector<Case>& cases) {
    for (const std::string count : {"10", "1000", "100000"}) {
        cases.push_back(FindingLoggers(count, count + " loggers", {"count=" + count}));
    }
    cases.push_back(
        FindingLoggers("10-of-100000", "10 loggers among 100000", {"count=100000", "asked=10"}));
    for (const char* count : {"10", "1000", "100000"}) {
        cases.push_back({std::string("switchall-") + count,
                         std::string("switching a level of ") + count + " loggers",
                         "ns",
                         true,
                         {"subject=switchall", std::string("count=") + count},
                         {Service("SetLevel"), kSpdlog}});
    }
    cases.push_back({"start",
                     "loading, starting, stopping and unloading",
                     "ns",
                     false,
                     {"subject=start"},
                     {Service("bundle")}});
    for (const char* way : {"queued", "kept"}) {
        cases.push_back({std::string("memory-") + way,
                         std::string("memory of a ") + way + " record, bytes",
                         "memory",
                         true,
                         {"subject=memory"},
                         {Service(way)}});
    }
}

void AddOperator(std::vector<Case>& cases) {
    Case operations;
    operations.name = "operator";
    operations.title = "an operator at work while 8 threads log (LogFormat)";
    operations.arguments = {"subject=operator", "threads=8"};
    operations.entrants = {Service("idle"), Service("status"), Service("flushall"),
                           Service("queueoff")};
    cases.push_back(operations);
}

void AddAsn(std::vector<Case>& cases) {
    for (const double size : {1024.0, 65536.0, 4000000.0}) {
        const std::string bytes = std::to_string(static_cast<int>(size));
        cases.push_back({"asn-" + bytes,
                         "an ASN message of " + bytes + " bytes, to the file",
                         "ns",
                         true,
                         {"subject=asn", "count=" + bytes},
                         {Floor("floor: print, one write", "print"), Service("PrintAsn"),
                          Service("LogAsnTrace")},
                         size});
        cases.back().inQuickRun = size > 1024;
    }
    for (const char* subject : {"masking", "all-hits", "near-misses", "one-line", "short-lines",
                                "quoted", "quoted-near-misses", "tagged", "tagged-near-misses"}) {
        const std::string name = subject;
        const std::string program = "qv_bench_masking";
        Case masking{name == "masking" ? name : "masking-" + name,
                     "masking 4 MB in memory" + (name == "masking" ? "" : ", text: " + name),
                     "ns",
                     true,
                     {"subject=" + name, "count=4000000"},
                     {{"floor: copying the text", Role::kFloor, program, {"way=copy"}},
                      {"service, AVX2", Role::kService, program, {"way=avx2"}},
                      {"service, portable", Role::kService, program, {"way=portable"}},
                      {"key by key", Role::kReference, program, {"way=key-by-key"}}},
                     4e6};
        if (name == "masking") {
            masking.entrants.push_back(
                {"printing the text", Role::kReference, program, {"way=print"}});
        }
        masking.inQuickRun = name == "masking";
        cases.push_back(masking);
    }
}

}  // namespace

std::vector<Case> AllCases() {
    std::vector<Case> cases;
    for (const bool inMemory : {false, true}) {
        AddDirect(cases, 1, 1, inMemory);
        AddDirect(cases, 2, 1, inMemory);
        AddDirect(cases, 8, 1, inMemory);
        AddDirect(cases, 8, 7, inMemory);
    }
    AddQueued(cases, "queued", 1);
    AddQueued(cases, "queued", 2);
    AddQueued(cases, "queued", 8);
    AddQueued(cases, "paced", 1);
    for (const int threads : {1, 2, 8}) {
        AddKept(cases, threads);
    }
    AddFiles(cases);
    AddLoggers(cases);
    AddOperator(cases);
    AddAsn(cases);
    return cases;
}

}  // namespace NS_BENCH
