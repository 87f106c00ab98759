// Finds the log files of a host.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ship/hostfile.h"

namespace NS_LOG_FLEET {

// Thread safety: none.
class FileFinder {
  public:
    // Directories of log files, and log files.
    explicit FileFinder(std::vector<std::string> paths) : paths_(std::move(paths)) {}

    // Adds the files that are not among `files` yet. Returns what is in the way and was not the
    // last time, one text each.
    std::vector<std::string> Find(std::vector<HostFile>& files);

    // Something that was in the way the last time; empty: nothing was.
    std::string Problem() const { return problems_.empty() ? "" : problems_.begin()->second; }

    // Whether nothing was in the way the last time, or something is again and again.
    bool HasTriedEnough() const { return tries_ == 0 || tries_ >= kMostTries; }

    // How long after the last time to look again.
    std::chrono::milliseconds Interval() const {
        return HasTriedEnough() ? std::chrono::seconds(5) : kRetryInterval;
    }

    // Whether the last time all directories were there and could be read to their ends.
    bool HasSearchedAll() const { return hasSearchedAll_; }

    // Whether a file of this name may be there and is not among those that were found.
    bool MayHide(const std::string& name) const;

    // Takes out the files that no name leads to any more. One that is open stays: it is read to its
    // end, which is possible as long as it is open. But for one that cannot be read.
    static std::vector<HostFile> TakeRemoved(std::vector<HostFile>& files);

  private:
    void LookAt(const std::string& path, std::vector<HostFile>& files);
    void SearchDirectory(const std::string& path, std::vector<HostFile>& files);
    void Add(const std::string& path, std::vector<HostFile>& files);

    const std::vector<std::string> paths_;
    std::map<std::string, std::string> problems_;  // by their paths
    int tries_ = 0;  // so many times in a row, something was in the way
    bool hasSearchedAll_ = true;
    bool isFirstTime_ = true;
};

}  // namespace NS_LOG_FLEET
