// The file in which clients find the agent.
#include "bundle/referencefile.h"

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <system_error>

namespace NS_NORTHBOUND {

ReferenceFile::ReferenceFile(const std::string& path, const std::string& reference) : path_(path) {
    const std::string draft = path + ".new";
    std::ofstream out(draft, std::ios::trunc);
    out << reference << '\n';
    out.close();
    if (!out || std::rename(draft.c_str(), path.c_str()) != 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
}

ReferenceFile::~ReferenceFile() {
    std::remove(path_.c_str());
}

}  // namespace NS_NORTHBOUND
