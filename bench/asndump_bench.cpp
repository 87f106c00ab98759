// What tracing an ASN message costs: beside printing the message alone, and beside the dump that
// masks nothing.
//
// Each round does all three, one after the other, so that whatever slows the machine down slows
// all of them. The time of a benchmark is that of the trace; the counters tell the rest:
//   print_us    printing the message into a buffer of the same size, nothing else
//   printasn_us PrintAsn, up to the call of Log
//   trace_us    LogAsnTrace, up to the call of Log
//   masking_us  what LogAsnTrace takes longer than PrintAsn
//   masking     masking_us as a share of print_us: below 1, masking is faster than printing
// They are medians, but for masking_us, which is the median of the rounds' differences.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <utility>
#include <vector>

// Deprecated for its growing form; over a fixed array it is what the dump uses.
#pragma push_macro("__DEPRECATED")
#undef __DEPRECATED
#include <strstream>
#pragma pop_macro("__DEPRECATED")

#include "bundlemgr/corbaconfigitems.h"
#include "channel/channelmap.h"
#include "logger/logger.h"
#include "platform/hostcontrol.h"
#include "support/asnmessages.h"

namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;
using NS_TEST::ScriptedMessage;

constexpr std::size_t kDumpSize = 4096000;

// A store that has every item, with the value 0.
class Zeros : public NS_BUNDLEMGR1::CorbaConfigItems {
  public:
    bool GetIntItemInfo(const std::string& /*name*/, int& value) override {
        value = 0;
        return true;
    }
    bool GetStrItemInfo(const std::string& /*name*/, std::string& /*value*/) override {
        return false;
    }
    void GetCorbaConfigItems(std::vector<NS_BUNDLEMGR1::NameValueStru>& items) override {
        items.clear();
    }
};

// A logger that goes no further than Log.
class SilentLogger : public NS_LOG_SERVICE1::Logger {
  public:
    using Logger::Logger;
    void Log(const std::string& /*file*/, const std::string& /*function*/, unsigned int /*line*/,
             int /*level*/, const std::string& text) override {
        benchmark::DoNotOptimize(text.data());
    }
};

struct Field {
    const char* name;
    const char* value;
};

constexpr Field kMaskedFields[] = {
    {"roomID", "17"},          {"equipmentRoomName", "\"Central office 4, floor 2\""},
    {"cabinetName", "\"C1\""}, {"name", "\"NE-4711\""},
    {"memo", "\"by gate 2\""}, {"siteName", "\"Hilltop\""},
    {"city", "\"Bergen\""},    {"location", "\"60.39, 5.32\""},
};
constexpr Field kPlainFields[] = {
    {"neId", "3145728"},   {"softwareVersion", "\"5.21.20.31 SP3\""},
    {"portRate", "stm64"}, {"direction", "bidirectional"},
    {"slotIndex", "12"},   {"alarmSeverity", "indeterminate"},
};

// The lines of a message, `percent` of which hold a masked value.
std::vector<Field> FieldsOf(std::size_t size, int percent) {
    std::vector<Field> fields;
    std::size_t printed = 0;
    int due = 0;
    while (printed < size) {
        due += percent;
        const bool masked = due >= 100;
        due -= masked ? 100 : 0;
        const std::size_t at = fields.size();
        fields.push_back(masked ? kMaskedFields[at % std::size(kMaskedFields)]
                                : kPlainFields[at % std::size(kPlainFields)]);
        printed +=
            8 + std::string(fields.back().name).size() + std::string(fields.back().value).size();
    }
    return fields;
}

// Prints line by line, as the operations do that are made from an ASN description.
ScriptedMessage FieldMessage(std::size_t size, int percent) {
    return ScriptedMessage("QAsnGetPhysicalLocationInfoRsp",
                           [fields = FieldsOf(size, percent)](std::ostream& out) {
                               for (const Field& field : fields) {
                                   out << "    " << field.name << " = " << field.value << '\n';
                               }
                           });
}

// Prints all at once: nobody prints faster.
ScriptedMessage BlockMessage(std::size_t size, int percent) {
    std::string text;
    for (const Field& field : FieldsOf(size, percent)) {
        text += std::string("    ") + field.name + " = " + field.value + '\n';
    }
    return NS_TEST::TextMessage("QAsnGetPhysicalLocationInfoRsp", text);
}

class Printer {
  public:
    void Print(const ScriptedMessage& message) {
        stream_.clear();
        stream_.seekp(0);
        message.Print(stream_, 0, 1);
        stream_.put('\0');
        benchmark::ClobberMemory();
    }

  private:
    std::vector<char> text_ = std::vector<char>(kDumpSize);
    std::strstream stream_{text_.data(), static_cast<int>(kDumpSize), std::ios::out};
};

template <class Action>
double TimeOf(Action action) {
    const auto begin = Clock::now();
    action();
    return Microseconds(Clock::now() - begin).count();
}

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

struct Rounds {
    std::vector<double> print;
    std::vector<double> printAsn;
    std::vector<double> trace;
    std::vector<double> masking;
};

void Compare(benchmark::State& state, ScriptedMessage message) {
    NS_LOG_SERVICE1::LogSettings settings;
    settings.bEnableAsnLog = 1;
    settings.levelSwitches = NS_LOG_SERVICE1::LevelSwitches(0b1111);
    NS_LOG_SERVICE1::ChannelMap channels;
    SilentLogger logger("a", "b", "debug", settings, channels);
    Printer printer;
    Rounds rounds;
    for (auto _ : state) {
        rounds.print.push_back(TimeOf([&] { printer.Print(message); }));
        rounds.printAsn.push_back(TimeOf([&] { logger.PrintAsn("f.cpp", "Run", 7, message); }));
        rounds.trace.push_back(TimeOf([&] { logger.LogAsnTrace("f.cpp", "Run", 7, message); }));
        rounds.masking.push_back(rounds.trace.back() - rounds.printAsn.back());
        state.SetIterationTime(rounds.trace.back() / 1e6);
    }
    state.counters["print_us"] = Median(rounds.print);
    state.counters["printasn_us"] = Median(rounds.printAsn);
    state.counters["trace_us"] = Median(rounds.trace);
    state.counters["masking_us"] = Median(rounds.masking);
    state.counters["masking"] = Median(rounds.masking) / Median(rounds.print);
}

void RegisterSize(const std::string& sizeName, std::size_t size) {
    using Maker = ScriptedMessage (*)(std::size_t, int);
    for (const auto& [way, make] :
         {std::pair<const char*, Maker>{"lines", &FieldMessage}, {"block", &BlockMessage}}) {
        for (const int percent : {0, 10, 100}) {
            const std::string name =
                std::string(way) + "/" + sizeName + "/hit" + std::to_string(percent);
            benchmark::RegisterBenchmark(name.c_str(), Compare, make(size, percent))
                ->UseManualTime()
                ->Unit(benchmark::kMicrosecond);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    static Zeros zeros;
    NS_REFERENCE_HOST::SetConfigItems(&zeros);
    RegisterSize("1K", 1024);
    RegisterSize("64K", 65536);
    RegisterSize("4M", kDumpSize - 200);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
