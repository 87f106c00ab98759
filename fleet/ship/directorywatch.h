// Waits for changes of log files.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "input/filedescriptor.h"

namespace NS_LOG_FLEET {

// Thread safety: none.
class DirectoryWatch {
  public:
    // Watches the directories, and those in which the files lie. Throws ReadError.
    explicit DirectoryWatch(const std::vector<std::string>& paths);

    // What may have happened while Wait waited.
    struct Changes {
        bool any = false;
        bool names = false;  // files came or went
    };

    // Returns at the first change, at a signal, or when the time is over.
    Changes Wait(std::chrono::milliseconds time);

  private:
    Changes ReadEvents() const;

    NS_LOG_READER::FileDescriptor events_;
};

}  // namespace NS_LOG_FLEET
