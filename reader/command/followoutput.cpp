#include "command/followoutput.h"

#include <unistd.h>

#include <algorithm>

namespace NS_LOG_READER {
namespace {

// How much of the past is shown.
constexpr uint64_t kPastRecords = 10;

}  // namespace

FollowOutput::FollowOutput(const Options& options)
    : options_(options), matcher_(options.selection), output_(STDOUT_FILENO) {
    format_ = MakeFormatOf(options, matcher_.SoughtPattern());
}

void FollowOutput::Begin() {
    format_->Begin(output_);
}

void FollowOutput::PrintPast(RecordStream& records,
                             const std::function<bool(const Found&)>& isPast) {
    std::vector<KeptRecord> last;
    Found found;
    while (last.size() < options_.lines.value_or(kPastRecords) && records.Next(found)) {
        if (isPast(found)) {
            last.emplace_back(found);
        }
    }
    for (; !last.empty(); last.pop_back()) {
        Print(last.back().Get());
    }
    output_.Flush();
    problems_.NoteFailure(matcher_);
}

void FollowOutput::PrintNew(RecordStream& records) {
    Found found;
    while (records.Next(found)) {
        Print(found);
    }
    output_.Flush();
    problems_.NoteFailure(matcher_);
}

void FollowOutput::PrintNew(std::vector<KeptRecord> fresh) {
    std::stable_sort(fresh.begin(), fresh.end(), [](const KeptRecord& a, const KeptRecord& b) {
        return a.Get().order < b.Get().order;
    });
    for (const KeptRecord& kept : fresh) {
        Print(kept.Get());
    }
    output_.Flush();
    problems_.NoteFailure(matcher_);
}

void FollowOutput::Print(const Found& found) {
    format_->Write(output_, found);
    wasPrinted_ = true;
}

ExitCode FollowOutput::Exit() const {
    return problems_.HasTrouble() ? ExitCode::Trouble
           : wasPrinted_          ? ExitCode::Found
                                  : ExitCode::NothingFound;
}

}  // namespace NS_LOG_READER
