// A log file of the host, and what its target knows of it.
#pragma once

#include <sys/stat.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ship/shippedfile.h"
#include "ship/target.h"

namespace NS_LOG_FLEET {

// What fails may do so for a moment only, as on the disk of another machine. It is tried so many
// times, at these intervals, before it counts as lasting.
constexpr int kMostTries = 5;
constexpr std::chrono::milliseconds kRetryInterval{250};

struct HostFile {
    std::string path;
    struct stat status {};              // as of the last look at an idle file
    std::unique_ptr<ShippedFile> file;  // null: idle, all of it has arrived and nobody writes it
    TargetFile target;
    std::string first;
    bool isAsked = false;      // the target has told where to go on, and keeps the handle
    bool isOpen = false;       // it goes on there
    bool wasOpen = false;      // it has gone on where some target told
    bool isSentAgain = false;  // all of it is sent again, as it was ordered
    std::string failure;       // why it could not be read the last time; empty: it could
    int failures = 0;          // so many times in a row
    ShippedFile::Clock::time_point failed{};
    std::vector<LeftOut> leftOut;  // the pieces that were too large to be sent
    std::string omission;          // what is said of the first of them; empty: there are none

    // Waiting or reading on will bring something of it.
    bool HasMoreToSend() const {
        return file && failures < kMostTries && !file->IsRead() && !file->IsWaitingForEnd();
    }

    // What sending it has trouble with; empty: nothing.
    const std::string& Problem() const { return failure.empty() ? omission : failure; }

    // Whether it may be read, after it could not.
    bool IsDue(ShippedFile::Clock::time_point now) const;

    // Reading it has failed, or has not. True: for another reason than the last time.
    bool NoteFailure(const std::string& reason);
    void NoteSuccess();

    // A piece of it is not sent. True: it is the first.
    bool NoteLeftOut(const LeftOut& piece);

    // So much of it will not arrive when it is removed now.
    uint64_t Unsent() const;

    // That is so because it was not read to its end.
    bool EndsEarly() const { return file || (isAsked && !isOpen && Unsent() > 0); }

    // Goes on there. What was left out in front of it stays left out.
    void SetOffset(uint64_t offset);

    // It was emptied and is another file now. Returns how many bytes of the old one were lost.
    uint64_t BeginAgain();

    // Opens an idle file. Throws ReadError.
    void Reopen();

    // The same with one that was opened, and goes on where this one had ended. False: it has other
    // contents. Throws ReadError.
    bool GoOnWith(std::unique_ptr<ShippedFile>& opened);

    // The same for one that the target does not have all of: a closing mark was on its way when the
    // last connection ended, or the target was set back to an earlier state. Throws ReadError.
    void ReopenIfUnknown();

    std::string Name() const { return path.substr(path.rfind('/') + 1); }

  private:
    uint64_t IdleSize() const { return static_cast<uint64_t>(status.st_size); }
    uint64_t LeftOutSize() const;
};

}  // namespace NS_LOG_FLEET
