// The file in which clients find the agent.
#include "bundle/referencefile.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <system_error>

namespace NS_NORTHBOUND {

void ReferenceFile::Write(const std::string& reference) {
    const std::string draft = path_ + ".new";
    std::ofstream out(draft, std::ios::trunc);
    out << reference << '\n';
    out.close();
    if (!out || std::rename(draft.c_str(), path_.c_str()) != 0) {
        throw std::system_error(errno, std::generic_category(), path_);
    }
    isWritten_ = true;
}

void ReferenceFile::Remove() noexcept {
    if (isWritten_) {
        unlink(path_.c_str());
        isWritten_ = false;
    }
}

}  // namespace NS_NORTHBOUND
