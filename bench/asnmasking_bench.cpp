// What masking a dump costs, beside copying the dump and beside searching for key after key.
//
// The text stays masked from one round to the next. That changes nothing in the work: the keys
// keep standing in front of the masked values, so every round finds and overwrites the same ones.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "masking/asnmasking.h"
#include "masking/plainmasking.h"

namespace {

using NS_LOG_SERVICE1::KeySearch;
using NS_LOG_SERVICE1::MaskAsnText;

struct DumpKind {
    const char* label;
    const char* typeName;
    const char* const* maskedLines;
    std::size_t maskedLineCount;
};

constexpr const char* kLocationLines[] = {
    "    roomID = 17\n",
    "    equipmentRoomName = \"Central office 4, floor 2, east wing\"\n",
    "    cabinetName = \"C1\"\n",
    "    name = \"NE-4711\"\n",
    "    memo = \"access by the north gate only\"\n",
    "    subshelfMemo = \"spare\"\n",
    "    siteName = \"Hilltop\"\n",
    "    country = \"Norway\"\n",
    "    province = \"Vestland\"\n",
    "    city = \"Bergen\"\n",
    "    location = \"60.39, 5.32\"\n",
};
constexpr const char* kCustomerLines[] = {"    userLabel = customer:Northern Railways, hub 12\n"};
constexpr const char* kQuotedLines[] = {"    strNEPwd = \"s3cr3t\"\n"};
constexpr const char* kTaggedLines[] = {"    <FTPPassWord>s3cr3t</FTPPassWord>\n"};

constexpr DumpKind kKinds[] = {
    {"location", "QAsnGetPhysicalLocationInfoRsp", kLocationLines, 11},
    {"customer", "QAsnGetSNCsByIdxsRsp", kCustomerLines, 1},
    {"quoted", "QAsnGetNEInfoRsp", kQuotedLines, 1},
    {"tagged", "AsneVOXScheduleCreateReq", kTaggedLines, 1},
};

constexpr const char* kPlainLines[] = {
    "    neId = 3145728\n",
    "    softwareVersion = \"5.21.20.31 SP3\"\n",
    "    SEQUENCE OF PortInfo {\n",
    "    portRate = stm64, direction = bidirectional\n",
    "    alarmSeverity = indeterminate\n",
    "    }\n",
};

// `size` bytes of lines, `percent` of which hold a masked value.
std::string MakeDump(const DumpKind& kind, std::size_t size, int percent) {
    std::string dump;
    std::size_t plain = 0;
    std::size_t masked = 0;
    int due = 0;
    while (dump.size() < size) {
        due += percent;
        if (due >= 100) {
            due -= 100;
            dump += kind.maskedLines[masked++ % kind.maskedLineCount];
        } else {
            dump += kPlainLines[plain++ % std::size(kPlainLines)];
        }
    }
    dump.resize(size);
    return dump;
}

void Repeat(std::string& dump, std::size_t size, const char* piece) {
    while (dump.size() < size) {
        dump += piece;
    }
    dump.resize(size);
}

void CountBytes(benchmark::State& state, std::size_t size) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

void Copy(benchmark::State& state, std::size_t size) {
    const std::string from(size, 'x');
    std::string to(size, 'y');
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), size);
        benchmark::ClobberMemory();
    }
    CountBytes(state, size);
}

void Mask(benchmark::State& state, KeySearch search, const char* typeName, std::string dump) {
    for (auto _ : state) {
        MaskAsnText(typeName, dump.data(), dump.size(), search);
        benchmark::ClobberMemory();
    }
    CountBytes(state, dump.size());
}

void FindKeyByKey(benchmark::State& state, const char* typeName, std::string dump) {
    const std::size_t size = dump.size();
    for (auto _ : state) {
        dump = MaskPlainly(typeName, std::move(dump));
        benchmark::ClobberMemory();
    }
    CountBytes(state, size);
}

void RegisterAllWays(const std::string& name, const char* typeName, const std::string& dump) {
    benchmark::RegisterBenchmark(("mask/" + name).c_str(), Mask, KeySearch::kFastest, typeName,
                                 dump);
    benchmark::RegisterBenchmark(("plain/" + name).c_str(), Mask, KeySearch::kPlain, typeName,
                                 dump);
    benchmark::RegisterBenchmark(("find_loop/" + name).c_str(), FindKeyByKey, typeName, dump);
}

void RegisterDumps(std::size_t size, const std::string& sizeName) {
    benchmark::RegisterBenchmark(("memcpy/" + sizeName).c_str(), Copy, size);
    for (const DumpKind& kind : kKinds) {
        for (const int percent : {0, 10, 100}) {
            RegisterAllWays(
                std::string(kind.label) + "/" + sizeName + "/hit" + std::to_string(percent),
                kind.typeName, MakeDump(kind, size, percent));
        }
    }
}

// Texts made to be slow.
void RegisterHardTexts(std::size_t size) {
    struct HardText {
        const char* label;
        const char* typeName;
        const char* piece;
    };
    constexpr const char* kLocationType = "QAsnGetPhysicalLocationInfoRsp";
    constexpr HardText kTexts[] = {
        {"near_misses_3", kLocationType, "ame"},
        {"near_misses_4", kLocationType, "Name"},
        {"near_misses_8", kLocationType, "inetName"},
        {"near_misses_mixed", kLocationType, "roomId Memo Name tion ountry eity "},
        {"one_line", kLocationType, "name = x "},
        {"short_lines", kLocationType, "name\n"},
        {"quoted_dense", "QAsnGetNEInfoRsp", "NEPwd=\"\""},
        {"quoted_near_misses", "QAsnGetNEInfoRsp", "EPwd"},
        {"tagged_dense", "AsneVOXScheduleCreateReq", "<FTPPassWord></FTPPassWord>"},
        {"tagged_near_misses", "AsneVOXScheduleCreateReq", "Word>"},
    };
    for (const HardText& text : kTexts) {
        std::string dump;
        Repeat(dump, size, text.piece);
        RegisterAllWays(std::string("hard/") + text.label, text.typeName, dump);
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    RegisterDumps(1024, "1K");
    RegisterDumps(65536, "64K");
    RegisterDumps(4194304, "4M");
    RegisterHardTexts(4194304);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
