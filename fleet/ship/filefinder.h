// Finds the log files of a host.
#pragma once

#include <string>
#include <vector>

#include "ship/hostfile.h"

namespace NS_LOG_FLEET {

// Thread safety: none.
class FileFinder {
  public:
    // Directories of log files, and log files.
    explicit FileFinder(std::vector<std::string> paths) : paths_(std::move(paths)) {}

    // Adds the files that are not among `files` yet. Returns what is in the way, one text each.
    std::vector<std::string> Find(std::vector<HostFile>& files) const;

    // Takes out the files that no name leads to any more. One that is open stays: it is read to its
    // end, which is possible as long as it is open.
    static std::vector<HostFile> TakeRemoved(std::vector<HostFile>& files);

  private:
    static void Add(const std::string& path, std::vector<HostFile>& files,
                    std::vector<std::string>& problems);

    const std::vector<std::string> paths_;
};

}  // namespace NS_LOG_FLEET
