#include "ask/storefollower.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>
#include <vector>

#include "ask/piecequery.h"
#include "ask/storestream.h"
#include "store/migration.h"
#include "store/recordstore.h"

namespace NS_LOG_FLEET {
namespace {

using NS_LOG_READER::Found;
using NS_LOG_READER::Matcher;
using NS_LOG_READER::Piece;
using NS_LOG_READER::ProblemListener;

using std::chrono::milliseconds;

constexpr milliseconds kLookEvery{1000};
constexpr milliseconds kFirstPause{200};
constexpr milliseconds kLongestPause{5000};

bool IsClosed(const pollfd& output) {
    return (output.revents & (POLLERR | POLLNVAL)) != 0;
}

// Where the first byte is missing that something is stored behind. None: nothing is.
std::optional<uint64_t> FirstGap(const ByteRanges& stored) {
    const auto& all = stored.All();
    const auto first = all.begin();
    if (first != all.end() && first->first != 0) {
        return 0;
    }
    return all.size() > 1 ? std::optional(first->second) : std::nullopt;
}

}  // namespace

StoreFollower::StoreFollower(std::string url, Connection connection, milliseconds longestGap)
    : url_(std::move(url)),
      longestGap_(longestGap),
      connection_(std::move(connection)),
      past_(StoredMarks()) {
    connection_->Run("COMMIT");
    connection_->Run(std::string("LISTEN ") + kStoredChannel);
}

void StoreFollower::Report(const std::string& text) const {
    std::fprintf(stderr, "qvlog: %s\n", text.c_str());
}

void StoreFollower::Connect() {
    if (connection_) {
        return;
    }
    Connection connection(url_);
    DemandCurrentSchema(connection);
    connection.Run(std::string("LISTEN ") + kStoredChannel);
    connection_.emplace(std::move(connection));
    pause_ = milliseconds(0);
    problem_.clear();
    Report("the store is back");
}

void StoreFollower::Lose(const StoreError& error) {
    connection_.reset();
    if (!error.IsPassing()) {
        throw error;
    }
    if (problem_ != error.what()) {
        problem_ = error.what();
        Report("the store: " + problem_);
    }
    pause_ = std::clamp(pause_ * 2, kFirstPause, kLongestPause);
}

bool StoreFollower::Wait() {
    pollfd both[] = {{STDOUT_FILENO, 0, 0}, {-1, POLLIN, 0}};
    if (connection_) {
        both[1].fd = PQsocket(connection_->Raw());
    }
    const milliseconds time = connection_ ? kLookEvery : pause_;
    if (::poll(both, 2, static_cast<int>(time.count())) < 0 && errno != EINTR) {
        return false;
    }
    if (connection_ && PQconsumeInput(connection_->Raw()) == 0) {
        Lose(connection_->LastError());
    }
    while (PGnotify* const notice = connection_ ? PQnotifies(connection_->Raw()) : nullptr) {
        PQfreemem(notice);
    }
    return !IsClosed(both[0]);
}

StoreFollower::Marks StoreFollower::StoredMarks() {
    const Rows rows = connection_->Run(
        "SELECT id, 0, stored FROM qv.file UNION ALL SELECT file, first, behind FROM qv.range");
    Marks marks;
    for (int row = 0; row < rows.Count(); ++row) {
        marks[rows.Number(row, 0)].Add({static_cast<uint64_t>(rows.Number(row, 1)),
                                        static_cast<uint64_t>(rows.Number(row, 2))});
    }
    return marks;
}

StoreFollower::File& StoreFollower::FindFile(int64_t id, const Matcher& matcher) {
    const auto known = files_.find(id);
    if (known != files_.end()) {
        return known->second;
    }
    const Rows rows = connection_->Run(
        "SELECT host, name, category, process FROM qv.file WHERE id = $1", {std::to_string(id)});
    File file;
    file.name.host = rows.Text(0, 0);
    file.name.path = rows.Text(0, 1);
    file.name.category = rows.Text(0, 2);
    file.name.process = rows.Number(0, 3);
    file.isWanted =
        matcher.Wanted().Wants(MakePlace(file.name.host, file.name.category, file.name.process));
    const auto past = past_.find(id);
    file.given = past == past_.end() ? ByteRanges() : past->second;
    return files_.emplace(id, std::move(file)).first->second;
}

// Whether what is stored behind the first gap waits for the gap to be filled.
bool StoreFollower::IsPatient(const ByteRanges& stored, File& file) const {
    const auto now = std::chrono::steady_clock::now();
    const std::optional<uint64_t> gap = FirstGap(stored);
    if (file.gap != gap) {
        file.gap = gap;
        file.gapSeen = now;
    }
    return now - file.gapSeen < longestGap_;
}

void StoreFollower::TakeFile(int64_t id, const ByteRanges& stored, File& file,
                             const Matcher& matcher, ProblemListener& problems, const Take& take) {
    const bool isPatient = IsPatient(stored, file);
    for (const auto& part : stored.All()) {
        if (isPatient && part.first != 0) {
            return;
        }
        for (const ByteRanges::Range& range : file.given.MissingIn(part)) {
            TakeRange(id, range, file, matcher, problems, take);
            file.given.Add(range);
        }
    }
}

// What is given is noted with each piece: when the store goes away in between, nothing comes twice.
void StoreFollower::TakeRange(int64_t id, ByteRanges::Range asked, File& file,
                              const Matcher& matcher, ProblemListener& problems, const Take& take) {
    PieceRange range;
    range.file = id;
    range.from = asked.first;
    range.until = asked.second;
    PieceQuery query(*connection_, range, Conditions(matcher));
    std::vector<Found> found;
    for (Piece piece; query.Next(piece);) {
        const std::string problem = NS_LOG_READER::DescribeProblem(piece);
        if (!problem.empty()) {
            problems.Report(PathOnHost(file.name), static_cast<int64_t>(piece.offset), problem);
        }
        found.clear();
        ParsePiece(piece, &file.name, found);
        for (const Found& one : found) {
            if (matcher.Matches(one.record)) {
                take(one);
            }
        }
        file.given.Add({asked.first, piece.offset + piece.bytes.size()});
    }
}

void StoreFollower::TakeNew(const Matcher& matcher, ProblemListener& problems, const Take& take) {
    try {
        Connect();
        connection_->Run(kBeginOneMoment);
        for (const auto& [id, stored] : StoredMarks()) {
            File& file = FindFile(id, matcher);
            if (file.isWanted) {
                TakeFile(id, stored, file, matcher, problems, take);
            }
        }
        connection_->Run("COMMIT");
    } catch (const StoreError& error) {
        Lose(error);
    }
}

}  // namespace NS_LOG_FLEET
