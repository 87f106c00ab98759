// The file that a page is written into.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "command/unfinishedfile.h"
#include "input/filedescriptor.h"
#include "input/series.h"

namespace NS_LOG_READER {

// Has its name when it is complete; until then what has that name stays as it was, and its rights
// are the new page's as well. Nothing is left behind of a page that is not finished. A device or a
// pipe is written to as it is.
//
// Thread safety: one thread.
class PageFile {
  public:
    // Throws BadRequest when the file cannot be written, or is one of the log files that are read
    // (`paths`, and the files of `series`), or has the name of a log file.
    PageFile(const std::string& path, const std::vector<std::string>& paths,
             const std::vector<Series>& series);

    int Descriptor() const {
        return unfinished_ ? unfinished_->Descriptor().Get() : special_.Get();
    }

    // Throws std::system_error.
    void Finish();

  private:
    std::string path_;
    std::unique_ptr<UnfinishedFile> unfinished_;  // null: it has its name already
    FileDescriptor special_;                      // a device or a pipe
};

}  // namespace NS_LOG_READER
