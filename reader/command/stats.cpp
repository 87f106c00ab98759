#include <unistd.h>

#include <algorithm>

#include "command/commands.h"
#include "command/session.h"
#include "command/tally.h"
#include "output/output.h"
#include "output/recordformat.h"
#include "output/visibletext.h"

namespace NS_LOG_READER {
namespace {

// One field whose values are counted.
struct Aspect {
    const char* name;
    const char* title;
    Tally tally;
};

class Statistics {
  public:
    void Count(const Record& record) {
        ++records_;
        histogram_.Count(record.time, record.level == 0);
        TallyOf(kCategory).Count(record.origin->category);
        TallyOf(kLevel).Count(std::to_string(record.level));
        if (record.kind == RecordKind::Short) {
            return;
        }
        TallyOf(kInterface).Count(record.interface);
        TallyOf(kUser).Count(record.user);
        source_.assign(record.file).append(":").append(std::to_string(record.line));
        TallyOf(kSource).Count(source_);
        if (!record.operation.empty()) {
            TallyOf(kOperation).Count(record.operation);
        }
    }

    uint64_t Records() const { return records_; }

    void PrintText(Output& output, size_t top) const {
        output.PutNumber(static_cast<int64_t>(records_));
        output.Put(" records\n");
        for (const Aspect& aspect : aspects_) {
            output.Put("\n");
            output.Put(aspect.title);
            output.Put(aspect.tally.IsExact() ? "\n" : " (at least)\n");
            for (const auto& [text, count] : aspect.tally.Top(top)) {
                PutPadded(output, count);
                output.Put("  ");
                PutVisible(output, text.empty() ? std::string_view("-") : text);
                output.Put('\n');
            }
            if (aspect.tally.Different() > top) {
                PutPadded(output, aspect.tally.Different() - top);
                output.Put("  others\n");
            }
        }
        PrintHistogram(output);
    }

    void PrintJson(Output& output, size_t top) const {
        output.Put("{\"v\":1,\"records\":");
        output.PutNumber(static_cast<int64_t>(records_));
        for (const Aspect& aspect : aspects_) {
            output.Put(",\"");
            output.Put(aspect.name);
            output.Put("\":[");
            bool isFirst = true;
            for (const auto& [text, count] : aspect.tally.Top(top)) {
                output.Put(isFirst ? "{\"value\":" : ",{\"value\":");
                isFirst = false;
                PutJsonString(output, text);
                output.Put(",\"count\":");
                output.PutNumber(static_cast<int64_t>(count));
                output.Put('}');
            }
            output.Put(']');
        }
        PutJsonHistogram(output);
        output.Put("}\n");
    }

  private:
    // The places in `aspects_`.
    enum Place : size_t { kCategory, kLevel, kInterface, kUser, kSource, kOperation };

    Tally& TallyOf(Place place) { return aspects_[place].tally; }

    static void PutPadded(Output& output, uint64_t count) {
        const std::string digits = std::to_string(count);
        output.Put(std::string(digits.size() < 12 ? 12 - digits.size() : 0, ' '));
        output.Put(digits);
    }

    void PrintHistogram(Output& output) const {
        constexpr uint64_t width = 50;
        uint64_t most = 1;
        for (const Histogram::Bin& bin : histogram_.Bins()) {
            most = std::max(most, bin.all);
        }
        output.Put("\nOver time, in spans of ");
        output.PutNumber(histogram_.Width() / kMicrosPerSecond);
        output.Put(" seconds (! at spans with records of level 0)\n");
        Time time = histogram_.Begin();
        for (const Histogram::Bin& bin : histogram_.Bins()) {
            output.Put(FormatLocalStamp(time).substr(0, 19));
            output.Put(bin.errors > 0 ? " !" : "  ");
            PutPadded(output, bin.all);
            output.Put(' ');
            output.Put(std::string((bin.all * width + most - 1) / most, '#'));
            output.Put('\n');
            time += histogram_.Width();
        }
    }

    void PutJsonHistogram(Output& output) const {
        output.Put(",\"histogram\":[");
        Time time = histogram_.Begin();
        bool isFirst = true;
        for (const Histogram::Bin& bin : histogram_.Bins()) {
            output.Put(isFirst ? "{\"time\":" : ",{\"time\":");
            isFirst = false;
            PutJsonString(output, FormatLocalStamp(time));
            output.Put(",\"seconds\":");
            output.PutNumber(histogram_.Width() / kMicrosPerSecond);
            output.Put(",\"records\":");
            output.PutNumber(static_cast<int64_t>(bin.all));
            output.Put(",\"errors\":");
            output.PutNumber(static_cast<int64_t>(bin.errors));
            output.Put('}');
            time += histogram_.Width();
        }
        output.Put(']');
    }

    uint64_t records_ = 0;
    Histogram histogram_;
    std::vector<Aspect> aspects_ = {{"category", "Category", {}},   {"level", "Level", {}},
                                    {"interface", "Interface", {}}, {"user", "User", {}},
                                    {"source", "Source", {}},       {"operation", "Operation", {}}};
    std::string source_;
};

}  // namespace

ExitCode RunStats(const Options& options) {
    Session session(options);
    const Matcher matcher(options.selection);
    Statistics statistics;
    const std::unique_ptr<RecordStream> records = session.Open(matcher, {}, false);
    Found found;
    while (records->Next(found)) {
        statistics.Count(found.record);
    }
    Output output(STDOUT_FILENO);
    if (options.json) {
        statistics.PrintJson(output, options.top);
    } else {
        statistics.PrintText(output, options.top);
    }
    output.Flush();
    return session.Exit(statistics.Records() > 0);
}

}  // namespace NS_LOG_READER
