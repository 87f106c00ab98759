#include "channel/writtenfiles.h"

#include <algorithm>
#include <iterator>

namespace NS_LOG_SERVICE1 {
namespace {

constexpr size_t kMostFiles = 4096;

}  // namespace

void WrittenFiles::Add(const FileIdentity& file, const RecordCounts& records) {
    // A removed file's number is used again.
    Take(file);
    if (files_.size() == kMostFiles) {
        files_.pop_front();
    }
    files_.push_back({file, records});
}

RecordCounts WrittenFiles::Take(const FileIdentity& file) {
    // From the newest on: most names that come round are those of the file before.
    const auto found = std::find_if(files_.rbegin(), files_.rend(),
                                    [&file](const Entry& entry) { return entry.file == file; });
    if (found == files_.rend()) {
        return {};
    }
    const RecordCounts records = found->records;
    files_.erase(std::next(found).base());
    return records;
}

}  // namespace NS_LOG_SERVICE1
