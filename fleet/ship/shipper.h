// Follows the log files of a host and sends what they hold.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "input/bytesource.h"
#include "ship/directorywatch.h"
#include "ship/filefinder.h"
#include "ship/hostfile.h"
#include "ship/pace.h"
#include "ship/target.h"

namespace NS_LOG_FLEET {

struct ShipSettings {
    std::string host;
    std::vector<std::string> paths;  // directories of log files, and log files
    uint64_t bytesPerSecond = 0;     // 0: as fast as it goes
    bool once = false;               // end when all that is there has arrived
    bool again = false;              // begin every file from its beginning
    // How often the host tells about itself, and asks for orders.
    std::chrono::milliseconds stateInterval{5000};
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
    // something was lost or could not be read, or with `once` it was stopped before all had
    // arrived; it was reported on standard error.
    bool Run();

    void Stop() { isStopped_ = true; }

  private:
    using Clock = ShippedFile::Clock;

    void Report(const std::string& text);
    void Trouble(const std::string& text);
    void ReportLasting(const std::string& text);
    void NoteFailure(HostFile& file, const NS_LOG_READER::ReadError& error);
    void Connect();
    void NoteSuccess();
    void AwaitTarget(const TargetError& error);
    void SleepUntil(Clock::time_point end) const;
    bool Work();

    void FindFiles();
    void DropRemovedFiles();
    void CompareWithTarget();
    bool MayBeThere(const std::string& name) const;
    void NoteRemoved(const KnownFile& known);
    void TakeOrder(const KnownFile& known, HostFile& file);
    bool OpenAtTarget(HostFile& file);
    void BeginAgain(HostFile& file);
    bool SendRound();
    bool SendFrom(HostFile& file);
    void NoteEnd(HostFile& file);
    void LookAtIdle();
    void TellState();
    std::string CurrentProblem() const;
    bool IsAllSent() const;
    void Wait();

    const ShipSettings settings_;
    const MakeTarget makeTarget_;
    DirectoryWatch watch_;
    FileFinder finder_;
    std::unique_ptr<Target> target_;
    std::vector<HostFile> files_;
    Pace pace_;
    bool scans_ = true;  // files may have come or gone
    Clock::time_point scanned_{};
    Clock::time_point flushed_{};
    Clock::time_point told_{};
    std::chrono::milliseconds pause_{0};
    bool hasWorked_ = false;
    bool hasSentPart_ = false;  // to this target
    int refusals_ = 0;          // in a row, by a target that has worked
    std::string problem_;
    bool hasTrouble_ = false;
    std::atomic<bool> isStopped_{false};
};

}  // namespace NS_LOG_FLEET
