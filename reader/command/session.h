// What the commands share: the files that were asked for, and the problems with them.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "command/commands.h"
#include "command/options.h"
#include "input/series.h"
#include "query/progress.h"
#include "query/recordstream.h"
#include "query/seriesstream.h"

namespace NS_LOG_READER {

// Problems go to standard error, a few of each file.
class StderrListener final : public ProblemListener {
  public:
    void Report(const std::string& path, int64_t offset, const std::string& text) override;
    void NoteRead(uint64_t bytes) override { progress_.Add(bytes); }

    // A file could not be read, or not to its end.
    bool HasTrouble() const { return hasTrouble_; }
    void NoteTrouble(const std::string& text);

  private:
    std::map<std::string, int> reported_;
    bool hasTrouble_ = false;
    Progress progress_;
};

// Thread safety: none.
class Session {
  public:
    // Finds the series that are wanted.
    explicit Session(const Options& options);

    // All records that match, by time; `newestFirst` backwards. `matcher` outlives the stream, as
    // the session does.
    std::unique_ptr<RecordStream> Open(const Matcher& matcher, StreamOptions stream,
                                       bool newestFirst);

    // The same, each series by itself.
    std::vector<std::unique_ptr<RecordStream>> OpenEach(const Matcher& matcher,
                                                        StreamOptions stream, bool newestFirst);

    const std::vector<Series>& AllSeries() const { return series_; }
    StderrListener& Problems() { return problems_; }

    ExitCode Exit(bool wasFound) const;

  private:
    std::vector<Series> series_;
    StderrListener problems_;
};

}  // namespace NS_LOG_READER
