#include "stress/books.h"

#include <set>
#include <sstream>
#include <vector>

#include "support/files.h"
#include "support/logfileparser.h"

namespace NS_TEST {
namespace {

struct FileCounts {
    uint64_t written = 0;
    uint64_t dumped = 0;
    uint64_t notices = 0;
    uint64_t twice = 0;  // texts that stand there more than once
};

// The texts of the stress begin with "#" and a number that is theirs alone, but for a repeated
// trace.
FileCounts CountFiles(const std::string& directory, const std::string& category) {
    FileCounts counts;
    std::set<std::string> seen;
    const auto see = [&](const ParsedRecord& record) {
        if (record.detail.rfind('#', 0) == 0 && !seen.insert(record.detail).second) {
            ++counts.twice;
        }
    };
    for (const std::string& name : ListLogFiles(directory, category)) {
        for (const ParsedPiece& piece : ParseLogPieces(directory + "/" + name)) {
            if (piece.kind == ParsedPiece::FILE_CREATED || piece.kind == ParsedPiece::FILE_CLOSED) {
                continue;
            }
            ++counts.written;
            counts.dumped += piece.dumped.size();
            if (piece.record.function == "TEDebugInfoBuf::AppendOutputInfo") {
                ++counts.notices;
            }
            see(piece.record);
            for (const ParsedRecord& dumped : piece.dumped) {
                see(dumped);
            }
        }
    }
    return counts;
}

}  // namespace

std::string StressBooks::CompareOne(size_t category, const NS_LOG_SERVICE1::ChannelStatus& status,
                                    const std::string& directory) const {
    const FileCounts files = CountFiles(directory, status.category);
    const uint64_t received = given_[category] + ordered_[category] + files.notices;
    const uint64_t accounted = status.recordsWritten + status.recordsDumped +
                               status.recordsDropped + status.recordsEvicted +
                               status.recordsCached + status.recordsQueued;
    const bool closed = category == kAlarms ? accounted <= received : accounted == received;
    if (closed && files.written == status.recordsWritten && files.dumped == status.recordsDumped &&
        files.twice == 0 && status.recordsDropped == 0) {
        return "";
    }
    std::ostringstream out;
    out << status.category << ": given " << given_[category] << " + dumps " << ordered_[category]
        << " + notices " << files.notices << "; written " << status.recordsWritten << " (files "
        << files.written << "), dumped " << status.recordsDumped << " (files " << files.dumped
        << "), dropped " << status.recordsDropped << ", evicted " << status.recordsEvicted
        << ", kept back " << status.recordsCached << ", queued " << status.recordsQueued
        << ", twice in the files " << files.twice << "\n";
    return out.str();
}

std::string StressBooks::Compare(const std::vector<NS_LOG_SERVICE1::ChannelStatus>& channels,
                                 const std::string& directory) const {
    std::string complaints;
    size_t compared = 0;
    for (const NS_LOG_SERVICE1::ChannelStatus& status : channels) {
        for (size_t i = 0; i < kStressCategories.size(); ++i) {
            if (status.category == kStressCategories[i]) {
                ++compared;
                complaints += CompareOne(i, status, directory);
            }
        }
    }
    return compared == kStressCategories.size() ? complaints : complaints + "categories missing\n";
}

}  // namespace NS_TEST
