// Waits for changes in directories, and for the end of processes.
#pragma once

#include <sys/inotify.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "input/filedescriptor.h"

namespace NS_LOG_READER {

// Thread safety: none.
class ChangeWatch {
  public:
    // Throws ReadError.
    ChangeWatch();

    // Watches the files in a directory, and whether another directory takes its place: then it is
    // to be watched again. Throws ReadError; that it comes back is waited for all the same.
    void WatchDirectory(const std::string& directory);

    // Watches for the end of a process; one that does not exist has ended already. Returns why its
    // end will not be seen, in which case it counts as alive; empty: it will.
    std::string WatchProcess(int64_t process);

    // Waits for a change, or for the end of a process, of which it forgets earlier ones. False:
    // nobody reads the output any more.
    bool Wait();

    // Whether one of the processes lives.
    bool HasProcess() const { return !processes_.empty(); }

    // Whether the last wait saw the end of a process.
    bool HasEnded(int64_t process) const { return ended_.count(process) != 0; }

  private:
    void WatchName(const std::filesystem::path& path);
    bool ReadEvents();
    bool IsWanted(const inotify_event& event) const;

    FileDescriptor events_;
    std::set<int> directories_;                    // everything in them is wanted
    std::map<int, std::set<std::string>> names_;   // in others, what has these names
    std::map<int64_t, FileDescriptor> processes_;  // not open: its end will not be seen
    std::set<int64_t> ended_;
};

}  // namespace NS_LOG_READER
