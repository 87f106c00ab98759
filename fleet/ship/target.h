// Where a shipper sends records to.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "store/filepart.h"
#include "store/recordstore.h"

namespace NS_LOG_FLEET {

// Sending failed. What was not acknowledged is sent again by a new target, which asks where to go
// on.
class TargetError : public std::runtime_error {
  public:
    TargetError(const std::string& text, bool isPassing)
        : std::runtime_error(text), isPassing_(isPassing) {}

    // Whether it may succeed later without anybody's help.
    bool IsPassing() const { return isPassing_; }

  private:
    bool isPassing_;
};

// A file as its target knows it.
struct TargetFile {
    int64_t handle = 0;
    uint64_t resumeAt = 0;    // everything in front of it has arrived for good
    bool isComplete = false;  // it knows that nothing more comes
};

// A file that the target knows and that is perhaps not on the host any more.
struct KnownFile {
    int64_t handle = 0;
    std::string name;
    std::string first;
    uint64_t arrived = 0;
    uint64_t size = 0;
    bool isComplete = false;
    bool isWantedAgain = false;
};

// One connection to a store or a stream. Its state is the target's, so that it can be thrown away
// and made again at any time. Every operation may throw TargetError; the object is of no use then.
//
// Thread safety: none.
class Target {
  public:
    Target() = default;
    virtual ~Target() = default;
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    // Where to go on with a file.
    virtual TargetFile Open(const FileIdentity& file) = 0;

    // What the target has of a file, without a change of what it knows. None: it knows no such
    // file.
    virtual std::optional<KnownFile> Find(const FileIdentity& file) = 0;

    // Takes a part that begins where the last one of the file ended. May wait until there is room.
    virtual void Send(int64_t handle, FilePart part) = 0;

    // Sends what was taken without waiting for more. Returns when all of it has arrived for good.
    virtual void Flush() = 0;

    // All that the target knows of the host's files; empty for targets that cannot tell.
    virtual std::vector<KnownFile> FilesOf(const std::string& host) = 0;

    // After something was written, how long to wait for more.
    virtual std::chrono::milliseconds Gathering() const { return std::chrono::milliseconds(200); }

    // See RecordStore. A file that is complete is told once.
    virtual void NoteGone(int64_t handle, uint64_t lost) = 0;
    virtual void NoteComplete(int64_t handle, uint64_t size) = 0;
    virtual void NoteSentAgain(int64_t handle) = 0;
    virtual void NoteHost(const HostState& state) = 0;
};

}  // namespace NS_LOG_FLEET
