// What following prints, of files and of a store.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "command/commands.h"
#include "command/options.h"
#include "command/session.h"
#include "output/output.h"
#include "output/recordformat.h"
#include "query/recordstream.h"
#include "query/selection.h"

namespace NS_LOG_READER {

// Operations that print throw OutputClosed when nobody reads the output any more.
//
// Thread safety: none.
class FollowOutput {
  public:
    // `options` outlives it.
    explicit FollowOutput(const Options& options);

    const Matcher& GetMatcher() const { return matcher_; }
    StderrListener& Problems() { return problems_; }

    void Begin();

    // The last records of the past, of a stream with the newest first. Those for which `isPast`
    // says no are left out.
    void PrintPast(
        RecordStream& records,
        const std::function<bool(const Found&)>& isPast = [](const Found&) { return true; });

    // What has come since the last look, as it comes.
    void PrintNew(RecordStream& records);

    // The same, by time.
    void PrintNew(std::vector<KeptRecord> fresh);

    ExitCode Exit() const;

  private:
    void Print(const Found& found);

    const Options& options_;
    const Matcher matcher_;
    Output output_;
    std::unique_ptr<RecordFormat> format_;
    StderrListener problems_;
    bool wasPrinted_ = false;
};

}  // namespace NS_LOG_READER
