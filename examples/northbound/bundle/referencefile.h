// The file in which clients find the agent.
#pragma once

#include <string>

namespace NS_NORTHBOUND {

// Thread safety: one thread.
class ReferenceFile {
  public:
    // Leaves what stands at `path`, which may be that of another agent.
    explicit ReferenceFile(const std::string& path) : path_(path) {}

    ~ReferenceFile() { Remove(); }

    ReferenceFile(const ReferenceFile&) = delete;
    ReferenceFile& operator=(const ReferenceFile&) = delete;

    // Writes `reference` into a new file and moves it to the path, so that nobody reads half of it.
    // Throws std::system_error when it cannot be written.
    void Write(const std::string& reference);

    // Removes the file if it has been written. May be called again.
    void Remove() noexcept;

  private:
    const std::string path_;
    bool isWritten_ = false;
};

}  // namespace NS_NORTHBOUND
