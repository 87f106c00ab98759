// Waits for changes in directories, and for the end of processes.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "input/filedescriptor.h"

namespace NS_LOG_READER {

// Thread safety: none.
class ChangeWatch {
  public:
    // Throws ReadError.
    ChangeWatch();

    // Watches the files in a directory. Throws ReadError.
    void WatchDirectory(const std::string& directory);

    // Watches for the end of a process; one that does not exist has ended already.
    void WatchProcess(int64_t process);

    // Waits for a change, or for the end of a process. False: nobody reads the output any more.
    bool Wait();

    // Whether one of the processes lives.
    bool HasProcess() const { return !processes_.empty(); }

  private:
    void ReadEvents() const;

    FileDescriptor events_;
    std::map<int64_t, FileDescriptor> processes_;
};

}  // namespace NS_LOG_READER
