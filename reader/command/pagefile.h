// The file that a page is written into.
#pragma once

#include <string>
#include <vector>

#include "input/filedescriptor.h"
#include "input/series.h"

namespace NS_LOG_READER {

// Has its name when it is complete; until then what has that name stays as it was, and its rights
// are the new page's as well. A device or a pipe is written to as it is.
//
// Thread safety: one thread.
class PageFile {
  public:
    // Throws BadRequest when the file cannot be written, or is one of the log files that are read
    // (`paths`, and the files of `series`), or has the name of a log file.
    PageFile(const std::string& path, const std::vector<std::string>& paths,
             const std::vector<Series>& series);
    // Leaves nothing behind when it was not finished. Nor does an interrupt.
    ~PageFile();

    PageFile(const PageFile&) = delete;
    PageFile& operator=(const PageFile&) = delete;

    int Descriptor() const { return descriptor_.Get(); }

    // Throws std::system_error.
    void Finish();

  private:
    FileDescriptor MakeUnfinished();

    std::string path_;
    std::string unfinished_;  // empty: it has its name already
    FileDescriptor descriptor_;
};

}  // namespace NS_LOG_READER
