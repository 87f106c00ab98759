// A disk that is soon full.
#pragma once

#include <string>

namespace NS_TEST {

// A file system in memory, mounted on a directory for the length of a block; only this thread sees
// it, and the processes and threads that it starts. Needs the rights of root, which not every
// container's root has.
class SmallFileSystem {
  public:
    // `inodes`: of all files and directories, the root among them.
    SmallFileSystem(const std::string& directory, size_t bytes, size_t inodes);
    ~SmallFileSystem();

    SmallFileSystem(const SmallFileSystem&) = delete;
    SmallFileSystem& operator=(const SmallFileSystem&) = delete;

    // False where it cannot be had.
    bool IsMounted() const { return mounted_; }

    // Writes the file `name` until there is no room at all. Removing it makes room.
    void Fill(const std::string& name) const;

  private:
    std::string directory_;
    bool mounted_ = false;
};

}  // namespace NS_TEST
