// Moves what stands in a log file to another directory.
#include <array>
#include <cstdio>
#include <memory>
#include <string>

#include "channel/currentfile.h"
#include "channel/logdirectory.h"
#include "channel/logfilename.h"

namespace NS_LOG_SERVICE1 {

void CurrentFile::MoveTo(const std::string& directory, const std::string& prefix) {
    directory_ = directory;
    prefix_ = prefix;
    if (!IsOpen()) {
        BeginNext();
        return;
    }
    const std::string oldPath = path_;
    const FileIdentity old = stream_.Identity();
    End();
    BeginNext();
    if (!IsOpen()) {
        Unpublish();
    } else if (TakeContentsOf(oldPath)) {
        std::remove(oldPath.c_str());
        const RecordCounts records = left_.Take(old);
        countsBefore_.written -= records.written;
        countsBefore_.dumped -= records.dumped;
    }
}

// Appends the contents of the file at `path`, all or nothing: a part could end in the middle of a
// record. Returns whether the file at `path` may be removed: all of it was copied, or it cannot be
// read at all.
bool CurrentFile::TakeContentsOf(const std::string& path) {
    if (stream_.IsSameFile(path)) {
        return false;  // another spelling of the same directory
    }
    const std::unique_ptr<FILE, int (*)(FILE*)> old(std::fopen(CanonicalPath(path).c_str(), "re"),
                                                    &std::fclose);
    if (old == nullptr) {
        return true;
    }
    std::array<char, 4096> chunk{};
    const uint64_t sizeBefore = size_;
    bool taken = true;
    size_t length = 0;
    do {
        length = std::fread(chunk.data(), 1, chunk.size(), old.get());
        taken = !WriteWhole({chunk.data(), length});
    } while (taken && length == chunk.size());
    if (!taken || std::ferror(old.get()) != 0) {
        stream_.CutBack(size_ - sizeBefore);
        size_ = sizeBefore;
        return false;
    }
    return true;
}

}  // namespace NS_LOG_SERVICE1
