// The file in which clients find the agent.
#pragma once

#include <string>

namespace NS_NORTHBOUND {

// Thread safety: one thread.
class ReferenceFile {
  public:
    // Writes `reference` into a new file and moves it to `path`, so that nobody reads half of it.
    // Throws std::system_error when it cannot be written.
    ReferenceFile(const std::string& path, const std::string& reference);

    // Removes the file.
    ~ReferenceFile();

    ReferenceFile(const ReferenceFile&) = delete;
    ReferenceFile& operator=(const ReferenceFile&) = delete;

  private:
    const std::string path_;
};

}  // namespace NS_NORTHBOUND
