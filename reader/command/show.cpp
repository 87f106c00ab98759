#include <unistd.h>

#include <algorithm>
#include <limits>
#include <unordered_set>

#include "command/commands.h"
#include "command/pager.h"
#include "command/session.h"
#include "output/recordformat.h"
#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

// So many operations are told together; more are no story.
constexpr size_t kMostOperations = 400000;

// Up to so many last records are kept in memory; for more, all are counted first.
constexpr uint64_t kMostKept = 10000;
constexpr size_t kMostKeptBytes = size_t{16} << 20;

StreamOptions MakeStreamOptions(const Options& options) {
    StreamOptions stream;
    stream.before = options.before;
    stream.after = options.after;
    stream.withContext = options.before + options.after > 0;
    stream.withMarks = options.output == "raw" && !options.selection.HasRecordConditions() &&
                       !options.selection.since && !options.selection.until && !options.lines &&
                       !options.reverse && !options.count && !options.story;
    return stream;
}

uint64_t Count(RecordStream& records) {
    uint64_t count = 0;
    Found found;
    while (records.Next(found)) {
        count += found.isHit ? 1 : 0;
    }
    return count;
}

// Prints records, and what belongs between them.
class Printer {
  public:
    Printer(Output& output, RecordFormat& format, bool separates)
        : output_(output), format_(format), separates_(separates) {}

    void Print(const Found& found) {
        const bool follows = found.series == series_ &&
                             (found.ordinal == ordinal_ + 1 || found.ordinal + 1 == ordinal_);
        if (separates_ && wasPrinted_ && !follows) {
            format_.Separate(output_);
        }
        format_.Write(output_, found);
        series_ = found.series;
        ordinal_ = found.ordinal;
        wasPrinted_ = true;
    }

    bool WasPrinted() const { return wasPrinted_; }

  private:
    Output& output_;
    RecordFormat& format_;
    const bool separates_;
    bool wasPrinted_ = false;
    size_t series_ = 0;
    uint64_t ordinal_ = 0;
};

class Show {
  public:
    explicit Show(const Options& options)
        : options_(options),
          stream_(MakeStreamOptions(options)),
          session_(options),
          matcher_(std::make_unique<Matcher>(options.selection)),
          output_(STDOUT_FILENO) {
        format_ = MakeFormatOf(options, matcher_->SoughtPattern());
    }

    ExitCode Run() {
        if (options_.story) {
            CollectStory();
        }
        if (options_.count) {
            return PrintCount();
        }
        const Pager pager(!options_.withoutPager);
        bool wasFound = true;
        try {
            wasFound = Print();
            output_.Flush();
        } catch (const OutputClosed&) {
            // As much was wanted as was read.
        }
        return session_.Exit(wasFound);
    }

  private:
    // From here on all records of the operations of the hits are wanted.
    void CollectStory() {
        std::unordered_set<std::string> operations;
        const std::unique_ptr<RecordStream> hits = session_.Open(*matcher_, {}, false);
        Found found;
        while (hits->Next(found)) {
            if (!found.record.operation.empty()) {
                operations.emplace(found.record.operation);
            }
            if (operations.size() > kMostOperations) {
                throw BadRequest("--story: these are records of more than 400,000 operations");
            }
        }
        pattern_ = std::move(matcher_);
        matcher_ = std::make_unique<Matcher>(std::move(operations));
    }

    ExitCode PrintCount() {
        stream_.withContext = false;
        uint64_t count = 0;
        for (auto& records : session_.OpenEach(*matcher_, stream_, false)) {
            count += Count(*records);
            records.reset();
        }
        count = std::min(count, options_.lines.value_or(count));
        output_.PutNumber(static_cast<int64_t>(count));
        output_.Put('\n');
        output_.Flush();
        return session_.Exit(count > 0);
    }

    bool Print() {
        Printer printer(output_, *format_, stream_.withContext);
        format_->Begin(output_);
        if (!options_.lines || options_.reverse) {
            PrintAll(printer);
        } else if (!stream_.withContext && *options_.lines <= kMostKept) {
            PrintLast(printer);
        } else {
            PrintLastOfMany(printer);
        }
        return printer.WasPrinted();
    }

    // All records, or with --reverse the first of them.
    void PrintAll(Printer& printer) {
        uint64_t hitsLeft = options_.lines.value_or(std::numeric_limits<uint64_t>::max());
        std::vector<HitRange> hits;
        if (stream_.withContext && options_.lines) {
            for (const uint64_t count : CountEach(hitsLeft, true)) {
                hits.push_back({0, count});
            }
            // Their neighbours come as well.
            hitsLeft = std::numeric_limits<uint64_t>::max();
        }
        const std::unique_ptr<RecordStream> records =
            session_.Open(*matcher_, stream_, options_.reverse, hits);
        Found found;
        for (; hitsLeft > 0 && records->Next(found); hitsLeft -= found.isHit ? 1 : 0) {
            printer.Print(found);
        }
    }

    void PrintLast(Printer& printer) {
        std::vector<KeptRecord> last;
        std::unique_ptr<RecordStream> records = session_.Open(*matcher_, stream_, true);
        size_t bytes = 0;
        Found found;
        while (last.size() < *options_.lines && records->Next(found)) {
            last.emplace_back(found);
            bytes += found.record.bytes.size();
            if (bytes > kMostKeptBytes) {
                last.clear();
                records.reset();
                PrintLastOfMany(printer);
                return;
            }
        }
        while (!last.empty()) {
            printer.Print(last.back().Get());
            last.pop_back();
        }
    }

    // Counts first, and then leaves out those before the last ones.
    void PrintLastOfMany(Printer& printer) {
        const uint64_t count = Count(*session_.Open(*matcher_, {}, false));
        uint64_t left = count > *options_.lines ? count - *options_.lines : 0;
        std::vector<HitRange> hits;
        if (stream_.withContext) {
            for (const uint64_t leftOut : CountEach(left, false)) {
                hits.push_back({leftOut});
            }
            left = 0;
        }
        const auto records = session_.Open(*matcher_, stream_, false, hits);
        Found found;
        while (records->Next(found)) {
            if (left == 0) {
                printer.Print(found);
            } else {
                --left;
            }
        }
    }

    // How many of the first hits each series has.
    std::vector<uint64_t> CountEach(uint64_t first, bool newestFirst) {
        std::vector<uint64_t> counts(session_.AllSeries().size());
        const std::unique_ptr<RecordStream> records = session_.Open(*matcher_, {}, newestFirst);
        Found found;
        for (; first > 0 && records->Next(found); --first) {
            ++counts[found.series];
        }
        return counts;
    }

    const Options& options_;
    StreamOptions stream_;
    Session session_;
    std::unique_ptr<Matcher> pattern_;  // of the hits, whose pattern is still marked
    std::unique_ptr<Matcher> matcher_;
    Output output_;
    std::unique_ptr<RecordFormat> format_;
};

}  // namespace

ExitCode RunShow(const Options& options) {
    return Show(options).Run();
}

}  // namespace NS_LOG_READER
