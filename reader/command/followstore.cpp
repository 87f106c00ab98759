#include <unistd.h>

#include <algorithm>

#include "command/commands.h"
#include "command/pager.h"
#include "command/session.h"
#include "output/recordformat.h"

namespace NS_LOG_READER {
namespace {

// What is shown of the past.
constexpr uint64_t kFirstStoredLines = 10;

class FollowStore {
  public:
    explicit FollowStore(const Options& options)
        : options_(options), matcher_(options.selection), output_(STDOUT_FILENO) {
        format_ = MakeFormatOf(options, matcher_.GetPattern());
    }

    ExitCode Run() {
        const std::unique_ptr<Store> store = OpenStore(options_.store);
        try {
            format_->Begin(output_);
            PrintPast(*store);
            store->BeginFollowing();
            do {
                PrintNew(*store);
            } while (store->Wait());
        } catch (const OutputClosed&) {
            // As much was wanted as was read.
        }
        return wasPrinted_ ? ExitCode::Found : ExitCode::NothingFound;
    }

  private:
    void PrintPast(Store& store) {
        Session session(options_, store);
        const std::unique_ptr<RecordStream> records = session.Open(matcher_, {}, true);
        std::vector<KeptRecord> last;
        Found found;
        while (last.size() < options_.lines.value_or(kFirstStoredLines) && records->Next(found)) {
            last.emplace_back(found);
        }
        for (; !last.empty(); last.pop_back()) {
            Print(last.back().Get());
        }
        output_.Flush();
    }

    // Everything that was stored since the last look, by time.
    void PrintNew(Store& store) {
        std::vector<KeptRecord> fresh;
        store.TakeNew(matcher_, problems_, [&](const Found& found) { fresh.emplace_back(found); });
        std::stable_sort(fresh.begin(), fresh.end(), [](const KeptRecord& a, const KeptRecord& b) {
            return a.Get().order < b.Get().order;
        });
        for (const KeptRecord& kept : fresh) {
            Print(kept.Get());
        }
        output_.Flush();
    }

    void Print(const Found& found) {
        format_->Write(output_, found);
        wasPrinted_ = true;
    }

    const Options& options_;
    const Matcher matcher_;
    Output output_;
    std::unique_ptr<RecordFormat> format_;
    StderrListener problems_;
    bool wasPrinted_ = false;
};

}  // namespace

ExitCode RunFollowStore(const Options& options) {
    if (options.endsWithAgent) {
        throw BadRequest("--end-with-agent: a store does not know when an agent ends");
    }
    return FollowStore(options).Run();
}

}  // namespace NS_LOG_READER
