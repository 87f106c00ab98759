// What the commands share: the files that were asked for, and the problems with them.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "command/archive.h"
#include "command/commands.h"
#include "command/options.h"
#include "input/series.h"
#include "output/recordformat.h"
#include "query/contextstream.h"
#include "query/progress.h"
#include "query/recordstream.h"
#include "query/seriesstream.h"

namespace NS_LOG_READER {

// Problems go to standard error, a few of each file, and each of them once however often the file
// is read.
class StderrListener final : public ProblemListener {
  public:
    void Report(const std::string& path, int64_t offset, const std::string& text) override;
    void NoteEmptied(const std::string& path) override;
    void ReportUnread(const std::string& reason, uint64_t offset) override;
    void NoteRead(uint64_t bytes) override { progress_.Add(bytes); }

    // Of these files only what is wrong before these places is told: the rest is being written.
    void TellOnlyBefore(std::map<std::string, uint64_t> ends) { ends_ = std::move(ends); }

    // A file could not be read or searched, or not to its end.
    bool HasTrouble() const { return hasTrouble_; }
    void NoteTrouble(const std::string& text);
    // The same unless it was noted so before.
    void NoteTroubleOnce(const std::string& text);
    // Once, whether the search for a pattern was given up.
    void NoteFailure(const Matcher& matcher);

  private:
    // The problems of a file.
    struct Told {
        int count = 0;
        std::set<int64_t> offsets;
    };

    std::map<std::string, Told> told_;
    std::map<std::string, uint64_t> ends_;
    std::set<std::string> noted_;
    bool hasTrouble_ = false;
    bool hasToldFailure_ = false;
    Progress progress_;
};

// Thread safety: none.
class Session {
  public:
    // Finds the series that are wanted.
    explicit Session(const Options& options);

    // The same with problems told to a listener that outlives the session.
    Session(const Options& options, StderrListener& problems);

    // The same in an archive that is open already, and outlives the session.
    Session(const Options& options, Archive& archive);

    // All records that match, by time; `newestFirst` backwards. `matcher` outlives the stream, as
    // the session does, and lives until Exit. `hits`: which of each series with context; none: all.
    std::unique_ptr<RecordStream> Open(const Matcher& matcher, StreamOptions stream,
                                       bool newestFirst, const std::vector<HitRange>& hits = {});

    // The same, each series by itself.
    std::vector<std::unique_ptr<RecordStream>> OpenEach(const Matcher& matcher,
                                                        StreamOptions stream, bool newestFirst,
                                                        const std::vector<HitRange>& hits = {});

    const std::vector<Series>& AllSeries() const { return series_; }
    Verification Verify(const Series& series) { return archive_->Verify(series); }
    StderrListener& Problems() { return *problems_; }

    // Tells what the matchers could not find out.
    ExitCode Exit(bool wasFound);

  private:
    void Find(const Options& options);

    std::unique_ptr<Archive> ownArchive_;
    Archive* archive_;
    std::vector<Series> series_;
    std::vector<const Matcher*> matchers_;
    StderrListener ownProblems_;
    StderrListener* problems_ = &ownProblems_;
};

// The format that the options ask for. `pattern` is marked in colour; null: none is.
std::unique_ptr<RecordFormat> MakeFormatOf(const Options& options, const Pattern* pattern);

}  // namespace NS_LOG_READER
