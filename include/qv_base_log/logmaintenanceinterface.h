// Looking after the logging service while it runs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bundlemgr/serviceinterface.h"

namespace NS_LOG_SERVICE1 {

// The name under which the maintenance interface is registered with the bundle manager.
static const char* const LOG_MAINTENANCE_INTERFACE_NAME = "LogMaintenanceInterface";

// What GetVersion returns for the operations in this header. Operations are only ever added behind
// the last one, with the next version; those that are there keep their slots.
static const unsigned int LOG_MAINTENANCE_VERSION = 1;

// One logger and its four switches.
struct LoggerStatus {
    std::string first;
    std::string second;
    std::string category;
    bool levels[4];
};

// What one category's channel has done since it was created. The numbers are read while logging
// goes on, so they need not fit together to the last record.
struct ChannelStatus {
    std::string category;
    std::string currentFile;     // empty while no file is open
    uint64_t recordsWritten;     // each in a frame of its own
    uint64_t recordsDumped;      // kept back first, then written inside a dump
    uint64_t recordsDropped;     // lost: no file could be opened, or a write failed
    uint64_t recordsEvicted;     // kept back, and lost because newer ones took their room
    uint64_t recordsQueued;      // waiting now
    uint64_t recordsQueuedMost;  // waiting at most
    uint64_t recordsCached;      // kept back now, because their level is off
    uint64_t bytesWritten;
    uint64_t rotations;
    int lastError;          // errno of the last failure with a file, 0: none
    int64_t lastErrorTime;  // its time, seconds since 1970
};

// One module switch that was set.
struct ModuleStatus {
    unsigned int module;  // as SetModuleSwitch was told
    bool on;
};

// Found under LOG_MAINTENANCE_INTERFACE_NAME from the service object's `init` until its `fini`.
//
// Thread safety: any thread may call any operation at any time in between. No operation holds up
// logging for longer than it takes to write out what it is asked to write.
//
// Errors: as with the loggers, what cannot be written is lost and counted. std::bad_alloc may cross
// the interface.
//
// Virtual slots: 0 to 3 ServiceInterface, then as declared (4 to 14).
class LogMaintenanceInterface : public NS_BUNDLEMGR1::ServiceInterface {
  public:
    // The version of the operations that this object offers; at least LOG_MAINTENANCE_VERSION.
    virtual unsigned int GetVersion() const = 0;

    // Writes out what is queued in every category.
    virtual void FlushAll() = 0;

    // Writes out what is queued in the category, and then what is kept back, as a dump.
    // An empty name means all categories. Returns false for a category that does not exist.
    virtual bool OutputAll(const std::string& category) = 0;

    // Switches queued output on: records are queued from now on; and, where the schedule service
    // offers periodic tasks, the queues are written out every "logtimeinterval" seconds. Off:
    // records are written at once from now on, and what is queued is written out. A record that is
    // logged at the very moment of switching off may stand in the file before an older one, or wait
    // in its queue for the next FlushAll or the service's end.
    // Switching on what is on, or off what is off, changes nothing. Returns one of the codes in
    // resultcode.h; when the periodic task cannot be deleted, output stays queued.
    virtual unsigned int SetQueuedOutput(bool on) = 0;

    // The output mode now: 0 direct, otherwise queued.
    virtual unsigned int GetOutputMode() = 0;

    // Whether the queues are written out periodically.
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

    // Replaces `modules` by the module switches that were set. They are in the order of the numbers
    // as signed ones: 2147483648 comes first, 4294967295 right before 0.
    virtual void GetModules(std::vector<ModuleStatus>& modules) = 0;
};

}  // namespace NS_LOG_SERVICE1
