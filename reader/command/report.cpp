#include <algorithm>
#include <chrono>
#include <unordered_map>

#include "command/commands.h"
#include "command/pagefile.h"
#include "command/session.h"
#include "command/verification.h"
#include "output/output.h"
#include "output/recordformat.h"
#include "query/selectiontext.h"
#include "report/page.h"

namespace NS_LOG_READER {
namespace {

// What a browser shows without effort.
constexpr uint64_t kMostRecords = 100000;
// So much of each detail; pages are sent by mail.
constexpr size_t kMostDetail = 2000;

// A JSON string that cannot end the script element that it stands in.
void PutScriptString(Output& output, std::string_view text) {
    output.Put('"');
    for (size_t tag = text.find('<'); tag != std::string_view::npos; tag = text.find('<')) {
        PutJsonText(output, text.substr(0, tag));
        output.Put("\\u003c");
        text.remove_prefix(tag + 1);
    }
    PutJsonText(output, text);
    output.Put('"');
}

// Writes the data of a page. Texts that recur are written once, at the end.
class PageData {
  public:
    explicit PageData(Output& output) : output_(output) { Intern(""); }

    void PutRecord(const Record& record) {
        output_.Put(count_ == 0 ? "[" : ",\n[");
        output_.PutNumber(record.time);
        PutNumber(record.level);
        const size_t category = Intern(record.origin->category);
        PutNumber(static_cast<int64_t>(category));
        PutNumber(static_cast<int64_t>(Intern(record.operation)));
        PutNumber(static_cast<int64_t>(Intern(record.interface)));
        PutNumber(static_cast<int64_t>(Intern(record.user)));
        const bool isDumped = record.kind == RecordKind::Dumped;
        PutNumber(isDumped ? 0 : record.number);
        PutNumber(isDumped ? record.number : 0);
        output_.Put(',');
        PutScriptString(output_, record.detail.substr(0, kMostDetail));
        output_.Put(']');
        Note(record, category);
    }

    uint64_t Count() const { return count_; }

    // Everything that follows the records.
    void PutRest(uint64_t leftOut, const std::string& selection,
                 const std::vector<std::pair<std::string, std::string>>& gaps) {
        output_.Put("],\"texts\":[");
        for (size_t i = 0; i < texts_.size(); ++i) {
            output_.Put(i == 0 ? "" : ",");
            PutScriptString(output_, *texts_[i]);
        }
        output_.Put("],\"categories\":[");
        for (size_t i = 0; i < categories_.size(); ++i) {
            output_.Put(i == 0 ? "" : ",");
            output_.PutNumber(static_cast<int64_t>(categories_[i]));
        }
        output_.Put("],\"gaps\":[");
        for (size_t i = 0; i < gaps.size(); ++i) {
            output_.Put(i == 0 ? "[" : ",[");
            PutScriptString(output_, gaps[i].first);
            output_.Put(',');
            PutScriptString(output_, gaps[i].second);
            output_.Put(']');
        }
        output_.Put("],\"selection\":");
        PutScriptString(output_, selection);
        output_.Put(",\"version\":\"" QV_VERSION "\"");
        PutMember("first", first_);
        PutMember("last", last_);
        PutMember("errors", static_cast<int64_t>(errors_));
        PutMember("leftOut", static_cast<int64_t>(leftOut));
        PutMember("offset", zoneMinutes_);
        PutMember("made", std::chrono::duration_cast<std::chrono::microseconds>(
                              std::chrono::system_clock::now().time_since_epoch())
                              .count());
        output_.Put('}');
    }

  private:
    void PutNumber(int64_t number) {
        output_.Put(',');
        output_.PutNumber(number);
    }

    void PutMember(const char* name, int64_t value) {
        output_.Put(",\"");
        output_.Put(name);
        output_.Put("\":");
        output_.PutNumber(value);
    }

    size_t Intern(std::string_view text) {
        const auto [place, isNew] = places_.emplace(std::string(text), places_.size());
        if (isNew) {
            texts_.push_back(&place->first);
        }
        return place->second;
    }

    void Note(const Record& record, size_t category) {
        if (std::find(categories_.begin(), categories_.end(), category) == categories_.end()) {
            categories_.push_back(category);
        }
        first_ = count_ == 0 ? record.time : std::min(first_, record.time);
        last_ = count_ == 0 ? record.time : std::max(last_, record.time);
        errors_ += record.level == 0 ? 1 : 0;
        if (record.stamp.size() > 6 && record.stamp[0] != '@') {
            const std::string zone(record.stamp.substr(record.stamp.size() - 6));
            const int minutes = std::stoi(zone.substr(1, 2)) * 60 + std::stoi(zone.substr(4, 2));
            zoneMinutes_ = zone[0] == '-' ? -minutes : minutes;
        }
        ++count_;
    }

    Output& output_;
    std::unordered_map<std::string, size_t> places_;
    std::vector<const std::string*> texts_;
    std::vector<size_t> categories_;
    uint64_t count_ = 0;
    uint64_t errors_ = 0;
    Time first_ = 0;
    Time last_ = 0;
    int64_t zoneMinutes_ = 0;  // of the last record: the page shows times as the files do
};

std::vector<std::pair<std::string, std::string>> FindGaps(Session& session) {
    std::vector<std::pair<std::string, std::string>> gaps;
    for (const Series& series : session.AllSeries()) {
        for (const Finding& finding : session.Verify(series).findings) {
            if (finding.isProblem) {
                gaps.emplace_back(
                    series.host.empty() ? series.category : series.category + " of " + series.host,
                    finding.text);
            }
        }
    }
    return gaps;
}

}  // namespace

ExitCode RunReport(const Options& options) {
    Session session(options);
    PageFile file(options.target, options.paths, session.AllSeries());
    const Matcher matcher(options.selection);
    Found found;
    uint64_t count = 0;
    for (const auto records = session.Open(matcher, {}, false); records->Next(found);) {
        ++count;
    }
    const uint64_t leftOut = count > kMostRecords ? count - kMostRecords : 0;
    const std::string_view page = kReportPage;
    constexpr std::string_view place = "<!--DATA-->";
    Output output(file.Descriptor());
    output.Put(page.substr(0, page.find(place)));
    output.Put("{\"records\":[");
    PageData data(output);
    uint64_t skipped = 0;
    for (const auto records = session.Open(matcher, {}, false); records->Next(found);) {
        if (skipped++ >= leftOut) {
            data.PutRecord(found.record);
        }
    }
    data.PutRest(leftOut, DescribeSelection(options.selection), FindGaps(session));
    output.Put(page.substr(page.find(place) + place.size()));
    output.Flush();
    file.Finish();
    return session.Exit(data.Count() > 0);
}

}  // namespace NS_LOG_READER
