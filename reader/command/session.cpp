#include "command/session.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "command/pager.h"
#include "query/mergedstream.h"

namespace NS_LOG_READER {
namespace {

constexpr int kMostProblemsOfFile = 10;

}  // namespace

void StderrListener::Report(const std::string& path, int64_t offset, const std::string& text) {
    if (offset < 0) {
        NoteTrouble(text);
        return;
    }
    const auto end = ends_.find(path);
    if (end != ends_.end() && static_cast<uint64_t>(offset) >= end->second) {
        return;
    }
    Told& told = told_[path];
    if (told.count > kMostProblemsOfFile || !told.offsets.insert(offset).second) {
        return;
    }
    if (++told.count <= kMostProblemsOfFile) {
        std::fprintf(stderr, "qvlog: %s: at byte %lld: %s\n", path.c_str(),
                     static_cast<long long>(offset), text.c_str());
    } else {
        std::fprintf(stderr, "qvlog: %s: and more; \"qvlog verify\" tells all\n", path.c_str());
    }
}

void StderrListener::NoteEmptied(const std::string& path) {
    told_[path].offsets.clear();
}

void StderrListener::ReportUnread(const std::string& reason, uint64_t offset) {
    NoteTroubleOnce(reason + "; what follows byte " + std::to_string(offset) + " was not read");
}

void StderrListener::NoteTrouble(const std::string& text) {
    hasTrouble_ = true;
    std::fprintf(stderr, "qvlog: %s\n", text.c_str());
}

void StderrListener::NoteTroubleOnce(const std::string& text) {
    if (noted_.insert(text).second) {
        NoteTrouble(text);
    }
}

void StderrListener::NoteFailure(const Matcher& matcher) {
    if (!hasToldFailure_ && !matcher.Failure().empty()) {
        hasToldFailure_ = true;
        NoteTrouble(matcher.Failure() + " (other records may be concerned as well)");
    }
}

Session::Session(const Options& options)
    : ownArchive_(OpenArchive(options)), archive_(ownArchive_.get()) {
    Find(options);
}

Session::Session(const Options& options, StderrListener& problems)
    : ownArchive_(OpenArchive(options)), archive_(ownArchive_.get()), problems_(&problems) {
    Find(options);
}

Session::Session(const Options& options, Archive& archive) : archive_(&archive) {
    Find(options);
}

void Session::Find(const Options& options) {
    std::vector<std::string> problems;
    // A story may lead anywhere.
    series_ = archive_->FindSeries(options.story ? Selection() : options.selection, problems);
    for (const std::string& problem : problems) {
        problems_->NoteTroubleOnce(problem);
    }
}

std::vector<std::unique_ptr<RecordStream>> Session::OpenEach(const Matcher& matcher,
                                                             StreamOptions stream, bool newestFirst,
                                                             const std::vector<HitRange>& hits) {
    archive_->Prepare(matcher);
    matchers_.push_back(&matcher);
    stream.among = std::max(series_.size(), size_t{1});
    std::vector<std::unique_ptr<RecordStream>> streams;
    for (size_t i = 0; i < series_.size(); ++i) {
        if (!matcher.Wanted().Wants(series_[i])) {
            continue;
        }
        std::unique_ptr<RecordStream> records =
            archive_->Open(series_[i], i, matcher, stream, newestFirst, *problems_);
        if (stream.withContext) {
            const size_t first = newestFirst ? stream.after : stream.before;
            const size_t second = newestFirst ? stream.before : stream.after;
            records = std::make_unique<ContextStream>(std::move(records), first, second,
                                                      hits.empty() ? HitRange() : hits[i]);
        }
        streams.push_back(std::move(records));
    }
    return streams;
}

std::unique_ptr<RecordStream> Session::Open(const Matcher& matcher, StreamOptions stream,
                                            bool newestFirst, const std::vector<HitRange>& hits) {
    std::vector<std::unique_ptr<RecordStream>> streams =
        OpenEach(matcher, stream, newestFirst, hits);
    if (streams.size() == 1) {
        return std::move(streams.front());
    }
    return std::make_unique<MergedStream>(std::move(streams), newestFirst);
}

std::unique_ptr<RecordFormat> MakeFormatOf(const Options& options, const Pattern* pattern) {
    FormatOptions format;
    format.isColoured = WantsColour(options.colour.c_str());
    format.pattern = options.selection.invert ? nullptr : pattern;
    const bool showsAllFields = options.output != "short" && options.output != "raw";
    if (!options.fields.empty()) {
        format.fields = ParseFields(options.fields);
    } else if (!options.store.empty() && showsAllFields) {
        format.fields = AllFieldsWithHost();
    }
    return MakeFormat(options.output, format);
}

ExitCode Session::Exit(bool wasFound) {
    for (const Matcher* const matcher : matchers_) {
        problems_->NoteFailure(*matcher);
    }
    return problems_->HasTrouble() ? ExitCode::Trouble
           : wasFound              ? ExitCode::Found
                                   : ExitCode::NothingFound;
}

}  // namespace NS_LOG_READER
