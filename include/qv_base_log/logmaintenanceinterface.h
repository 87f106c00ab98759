// Administering the logging service while it runs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bundlemgr/serviceinterface.h"

namespace NS_LOG_SERVICE1 {

// The name under which the maintenance interface is registered with the bundle manager.
static const char* const LOG_MAINTENANCE_INTERFACE_NAME = "LogMaintenanceInterface";

// The version of the operations in this header. A later version adds operations after the last
// one; the others keep their slots.
static const unsigned int LOG_MAINTENANCE_VERSION = 2;

// One logger and its four switches.
struct LoggerStatus {
    std::string first;     // what GetLogger was called with
    std::string second;    // the same
    std::string category;  // the same
    bool levels[4];        // its switches of the levels 0 to 3
};

// What one category's channel has done since it was created. The numbers are read while others log,
// so they may differ by a few records. Records of a file that was emptied because it was full
// within the second in which it was made count as written.
struct ChannelStatus {
    std::string category;        // the third string of its loggers
    std::string currentFile;     // empty while no file is open
    uint64_t recordsWritten;     // each in a frame of its own, or as the trigger of a dump
    uint64_t recordsDumped;      // kept back first, then written inside a dump
    uint64_t recordsDropped;     // lost: no file, a failed write, or no memory
    uint64_t recordsEvicted;     // kept back, and lost for newer ones
    uint64_t recordsQueued;      // in the queue now
    uint64_t recordsQueuedMost;  // in the queue at most
    uint64_t recordsCached;      // kept back now, because their level is off
    uint64_t bytesWritten;       // everything that reached the files
    uint64_t rotations;          // files that were begun in the place of another one
    int lastError;               // errno of the last failure with a file, 0: none
    int64_t lastErrorTime;       // its time, seconds since 1970
};

// One module switch that was set.
struct ModuleStatus {
    unsigned int module;  // the number that was given to SetModuleSwitch
    bool on;              // its switch
};

// What a channel does when a file with the name of its next one exists already, and when a write
// fails.
enum LogFilePolicy {
    // A file whose name exists is emptied. A failing write closes the file, and the next one begins
    // at once.
    LOG_FILE_POLICY_CONTRACT = 0,
    // A file whose name exists is continued. After a failed write the file is cut back to its last
    // whole record, and a pause begins, which grows up to one second. Records that come in the
    // pause are lost and counted. The next record goes to the same file if there was no room, and
    // to a new file after any other error.
    LOG_FILE_POLICY_KEEP_RECORDS = 1
};

// The books of one category's channel: what has become of its records. Once nothing logs, they
// close:
// received = written + dumped + evicted + dropped + overwritten + queued + cached.
// The numbers are read while others log, so they may differ by a few records then.
struct ChannelBooks {
    std::string category;      // the third string of its loggers
    std::string currentFile;   // empty while no file is open
    bool currentFileInPlace;   // the name stands for the open file; true while no file is open
    bool failing;              // the last attempt to open or to write a file failed
    uint64_t recordsReceived;  // given to the channel: to be written, queued or kept back
    uint64_t recordsWritten;   // each in a frame of its own, or as the trigger of a dump, and not
                               // overwritten since
    uint64_t recordsDumped;    // kept back first, then written inside a dump, and not overwritten
    uint64_t recordsEvicted;   // kept back, and lost for newer ones
    uint64_t recordsDropped;   // lost: no file, a failed write, or no memory
    uint64_t recordsOverwritten;  // written or dumped once, lost as their file was emptied
    uint64_t recordsQueued;       // in the queue now
    uint64_t recordsQueuedMost;   // in the queue at most
    uint64_t recordsCached;       // kept back now, because their level is off
    uint64_t bytesQueued;         // of the texts in the queue now
    uint64_t bytesWritten;        // everything that reached the files
    uint64_t bytesEmptied;        // in files that were emptied when they were opened
    uint64_t rotations;           // files that were begun in the place of another one
    uint64_t failures;            // of opening, writing or closing a file
    int lastError;                // errno of the last failure with a file, 0: none
    int64_t lastErrorTime;        // its time, seconds since 1970
    std::string lastErrorFile;    // the path that it was about
};

// The switches of the whole service.
struct LogSwitches {
    bool levels[4];         // the global switches of the levels 0 to 3
    bool asnTrace;          // "bEnableAsnLog"; not "bEnableAsnTrace", which governs the echo
    bool outputParameters;  // "bLogOutputPara"
};

// Registered under LOG_MAINTENANCE_INTERFACE_NAME from the service object's `init` until its
// `fini`. The service owns the object.
//
// Thread safety: any thread may call any operation; WriteQueuesBeforeDeath, one thread at a time.
// An operation delays logging only while it writes what it was asked to write. Those that write,
// Reopen, Rotate and SetFilePolicy wait for a write to the same file that goes on.
//
// Errors: records that cannot be written are lost and counted (ChannelBooks::recordsDropped).
// Operations may throw std::bad_alloc. SetQueuedOutput passes on what the schedule service throws.
// When something throws while FlushAll, OutputAll, Reopen or Rotate works on one of several
// categories, the others have their turn before the first exception passes on. The records of that
// category that were not written then are lost and counted too.
//
// Virtual slots: 0 to 3 ServiceInterface, then as declared (4 to 14, from version 2 on 4 to 23).
class LogMaintenanceInterface : public NS_BUNDLEMGR1::ServiceInterface {
  public:
    // Returns the version of the operations that this object offers. Look at it before calling an
    // operation that a later version has added.
    virtual unsigned int GetVersion() const = 0;

    // Writes out the queue of every category.
    virtual void FlushAll() = 0;

    // Writes out the queue of the category, and then what is kept back, as a dump. An empty name
    // means all categories. Returns false for a category that does not exist.
    virtual bool OutputAll(const std::string& category) = 0;

    // On: records are queued from now on. When the schedule service offers periodic tasks, the
    // queues are written out every "logtimeinterval" seconds, or every second when that is 0.
    //
    // Off: the queues are written out, and records are written at once from now on. A record that
    // is logged while output is switched off may overtake an older one in the file, or wait in the
    // queue for the next FlushAll or the service's end.
    //
    // Switching on what is on starts the periodic task if there is none. Switching off what is off
    // changes nothing. Returns one of the codes in resultcode.h. When the periodic task cannot be
    // deleted, output stays queued. When a queue cannot be written out because something throws,
    // output is switched off all the same, and the first exception passes on.
    virtual unsigned int SetQueuedOutput(bool on) = 0;

    // Returns the output mode: 0 for direct output, another value for queued output.
    virtual unsigned int GetOutputMode() = 0;

    // Returns whether the queues are written out periodically. When the schedule service has gone
    // meanwhile, that shows with the next SetQueuedOutput.
    virtual bool HasPeriodicOutput() = 0;

    // Replaces `loggers` by all loggers, in the order of their creation.
    virtual void GetLoggers(std::vector<LoggerStatus>& loggers) = 0;

    // Switches one level (0 to 3) of one logger. Returns false when there is no such logger or
    // level.
    virtual bool SetLoggerLevel(const std::string& first, const std::string& second,
                                const std::string& category, unsigned int level, bool on) = 0;

    // Switches one level (0 to 3) globally and for every logger. Returns false for a level above 3.
    virtual bool SetLevel(unsigned int level, bool on) = 0;

    // Replaces `channels` by the status of all channels, in the order of their names.
    virtual void GetChannels(std::vector<ChannelStatus>& channels) = 0;

    // Replaces `modules` by the module switches that were set, in the order of their numbers as
    // signed numbers: 2147483648 comes first, 4294967295 right before 0.
    virtual void GetModules(std::vector<ModuleStatus>& modules) = 0;

    // From here on: version 2.

    // Sets the policy of all channels, from the next record on. Initially LOG_FILE_POLICY_CONTRACT,
    // for which any other value than those of LogFilePolicy is taken. Once it was called,
    // whatever the policy, the service also reports through the log proxy at its end how many
    // records of which categories were lost; otherwise losses are only counted.
    virtual void SetFilePolicy(LogFilePolicy policy) = 0;

    // Returns the policy of all channels.
    virtual LogFilePolicy GetFilePolicy() = 0;

    // Makes the category's file anew under its name when it was moved or removed; a file that still
    // stands is continued. Whatever the policy, no file is emptied, and when the new one cannot be
    // had, the one that was moved is continued. Ends a pause. An empty name means all categories. A
    // category without an open file stays without. Returns false for a category that does not
    // exist.
    virtual bool Reopen(const std::string& category) = 0;

    // Begins a new file in the place of the current one, or the first one. Whatever the policy, no
    // file is emptied: within the second in which the current file was made, it is continued. Ends
    // a pause. An empty name means all categories. Returns false for a category that does not
    // exist.
    virtual bool Rotate(const std::string& category) = 0;

    // Limits the texts in each category's queue to so many bytes; 0, the initial value: no limit.
    // A queue that reaches it is full, as one with "queuebuflength" records. Takes effect with the
    // next record that is queued.
    virtual void SetQueueBytes(uint64_t bytes) = 0;

    // Returns the limit that was set last.
    virtual uint64_t GetQueueBytes() = 0;

    // Replaces `books` by the books of all channels, in the order of their names. Waits for no file
    // that is written, and holds no lock while it looks whether the files are in place.
    virtual void GetChannelBooks(std::vector<ChannelBooks>& books) = 0;

    // Returns the switches of the whole service.
    virtual LogSwitches GetSwitches() = 0;

    // For a process that dies of a signal: writes what is queued to the files that are open. Needs
    // no memory and waits for no lock of the service that may never be free, so it may not reach
    // all. Takes at most two seconds, unless a write takes longer. The process is expected to end
    // afterwards.
    //
    // Call it on a thread that was made ready before, which the signal's handler wakes and awaits
    // for a limited time, and not in the handler itself: the platform renders the times of the
    // records, and may wait there for a lock that the interrupted thread holds.
    // REQUIRES: no other thread calls it at the same time.
    virtual void WriteQueuesBeforeDeath() noexcept = 0;
};

}  // namespace NS_LOG_SERVICE1
