// A log file of the host, and what its target knows of it.
#pragma once

#include <sys/stat.h>

#include <memory>
#include <string>

#include "ship/shippedfile.h"
#include "ship/target.h"

namespace NS_LOG_FLEET {

struct HostFile {
    std::string path;
    struct stat status {};              // as of the last look at an idle file
    std::unique_ptr<ShippedFile> file;  // null: idle, all of it has arrived and nobody writes it
    TargetFile target;
    std::string first;
    bool isOpen = false;       // the target has told where to go on
    bool wasOpen = false;      // some target has
    bool isSentAgain = false;  // all of it is sent again, as it was ordered
    std::string failure;       // why it could not be read the last time; empty: it could

    // Waiting or reading on will bring something of it.
    bool HasMoreToSend() const {
        return file && failure.empty() && !file->IsRead() && !file->IsWaitingForEnd();
    }

    std::string Name() const { return path.substr(path.rfind('/') + 1); }
};

}  // namespace NS_LOG_FLEET
