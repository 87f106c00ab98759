// A file that gets its name when it is complete.
#pragma once

#include <string>

#include "input/filedescriptor.h"

namespace NS_LOG_READER {

// Stands beside the file that it is to become, with a name of its own: others may be made for the
// same file at the same time. Nothing is left behind when it was not finished, nor by an interrupt.
//
// Thread safety: one thread; there is one object at a time.
class UnfinishedFile {
  public:
    // `path`: the name that it gets in the end. When it cannot be made, `Descriptor` is not open,
    // and errno says why. The program's owner alone may read it at first.
    explicit UnfinishedFile(const std::string& path);
    ~UnfinishedFile();

    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    const std::string& Path() const { return unfinished_; }
    const FileDescriptor& Descriptor() const { return descriptor_; }

    // Gives it its name, in place of what has it, and the rights of that. Throws std::system_error.
    void Finish();

  private:
    const std::string path_;
    std::string unfinished_;
    FileDescriptor descriptor_;
    bool isFinished_ = false;
};

}  // namespace NS_LOG_READER
