// Keeps a second agent out of a share directory.
#pragma once

#include <sys/types.h>

#include <string>

namespace NS_REFERENCE_HOST {

// Holds the lock on the file "qv_agent.lock" in the directory from its construction to its
// destruction; the system releases it when the process dies. But a child that was forked and has
// not called exec has the lock too, and keeps it when the process dies. The file holds the
// process's number. It has mode 0600, so that no other user can take the lock, and it stays: who
// removed it could remove that of a new agent.
//
// Thread safety: one thread.
class DirectoryLock {
  public:
    // Throws AgentError when another agent has the lock, or the file cannot be used; the exit code
    // tells a shortage (of space, of descriptors) from a file that is in another's hands. Where
    // none can be made, because the directory is read-only, says so on standard error and goes
    // without.
    explicit DirectoryLock(const std::string& directory);

    // In a forked child the lock stays the parent's.
    ~DirectoryLock();

    DirectoryLock(const DirectoryLock&) = delete;
    DirectoryLock& operator=(const DirectoryLock&) = delete;

  private:
    bool Open();
    bool IsInPlace() const;
    void Take();
    void NoteProcess() const;
    [[noreturn]] void FailFor(int error) const;

    const std::string path_;
    const pid_t process_;  // that took it
    int descriptor_ = -1;
};

}  // namespace NS_REFERENCE_HOST
