// Follows the log files of a host and sends what they hold.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ship/directorywatch.h"
#include "ship/pace.h"
#include "ship/shippedfile.h"
#include "ship/target.h"

namespace NS_LOG_FLEET {

struct ShipSettings {
    std::string host;
    std::vector<std::string> paths;  // directories of log files, and log files
    uint64_t bytesPerSecond = 0;     // 0: as fast as it goes
    bool once = false;               // end when all that is there has arrived
    bool again = false;              // begin every file from its beginning
};

// Needs the memory of what is on its way, however much there is to send.
//
// Thread safety: `Stop` may be called by any thread and by a signal handler.
class Shipper {
  public:
    using MakeTarget = std::function<std::unique_ptr<Target>()>;

    // Throws ReadError when a directory cannot be watched.
    Shipper(ShipSettings settings, MakeTarget makeTarget);

    // Sends until `Stop`, or with `once` until all has arrived. Throws TargetError when the target
    // refuses for a reason that waiting does not remove, at once or again and again. False:
    // something was lost or could not be read, and was reported on standard error.
    bool Run();

    void Stop() { isStopped_ = true; }

  private:
    using Clock = ShippedFile::Clock;

    struct File {
        std::string path;
        struct stat status {};  // as of the last look at an idle file
        std::unique_ptr<ShippedFile>
            file;  // null: idle, all of it has arrived and nobody writes it
        TargetFile target;
        std::string first;
        bool isOpen = false;       // the target has told where to go on
        bool wasOpen = false;      // some target has
        bool isSentAgain = false;  // all of it is sent again by an order
        bool isRemoved = false;    // no name leads to it any more
    };

    void Report(const std::string& text);
    void Trouble(const std::string& text);
    void Connect();
    void NoteSuccess();
    void AwaitTarget(const TargetError& error);
    void Work();

    void FindFiles();
    void AddFile(const std::string& path);
    bool IsKnown(File& file, const std::string& path);
    void FindRemoved();

    void CompareWithTarget();
    void TakeOrder(const KnownFile& known, File& file);
    void ReopenIfUnknown(File& file);
    bool OpenAtTarget(File& file);
    void BeginAgain(File& file);
    bool SendRound();
    bool SendFrom(File& file);
    void LookAtIdle();
    void TellState();
    bool IsAllSent() const;
    void Wait();

    const ShipSettings settings_;
    const MakeTarget makeTarget_;
    DirectoryWatch watch_;
    std::unique_ptr<Target> target_;
    std::vector<File> files_;
    Pace pace_;
    bool scans_ = true;  // files may have come or gone
    Clock::time_point scanned_{};
    Clock::time_point flushed_{};
    Clock::time_point told_{};
    std::chrono::milliseconds pause_{0};
    bool hasWorked_ = false;
    int refusals_ = 0;  // in a row, by a target that has worked
    std::string problem_;
    bool hasTrouble_ = false;
    std::atomic<bool> isStopped_{false};
};

}  // namespace NS_LOG_FLEET
