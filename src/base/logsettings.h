// The sizes and switches of the running service.
#pragma once

#include <bitset>
#include <cstdint>

#include "base/relaxedatomic.h"
#include "qv_base_log/loglevel.h"

namespace NS_LOG_SERVICE1 {

// One bit for each level that has a switch.
using LevelSwitches = std::bitset<LOG_LEVEL_COUNT>;

// Whether the switch of `level` is on; off for a level that has none.
inline bool IsLevelOn(LevelSwitches switches, uint32_t level) {
    return level < switches.size() && switches[level];
}

// What `outputmode` may be: records are written at once, or queued.
enum OutputMode : uint32_t { kDirectOutput = 0, kQueuedOutput = 1 };

// The value of `outputTask` when there is none.
constexpr int64_t kNoOutputTask = -1;

// The size of a log file where the configuration gives none.
constexpr uint32_t kDefaultLogFileSize = 4194304;

// A field that a configuration item sets has the item's name. The values here apply until the
// configuration is read.
//
// Thread safety: any thread may read and write each field. There is no order between the fields.
struct LogSettings {
    // Seconds between two periodic outputs of the queues.
    RelaxedAtomic<uint32_t> logtimeinterval{60};
    // Records that a channel's queue holds before it is written out.
    RelaxedAtomic<uint32_t> queuebuflength{16384};
    // Bytes of the texts in a channel's queue at which it is written out; 0: no such limit. The
    // maintenance interface sets it.
    RelaxedAtomic<uint64_t> queueBytes{0};
    // The number of records that a channel keeps back.
    RelaxedAtomic<uint32_t> filterbuflength{128};
    // Bytes at which a log file is closed and a new one begins.
    RelaxedAtomic<uint32_t> logfilesize{20971520};
    // Stored only: no file is removed because of it.
    RelaxedAtomic<uint32_t> logfilecount{10000};
    // The periodic output task at the schedule service, or kNoOutputTask. No task has the 0 that
    // stands here at first.
    RelaxedAtomic<int64_t> outputTask{0};
    // An OutputMode.
    RelaxedAtomic<uint32_t> outputmode{kDirectOutput};
    // Whether ASN messages and alarms are logged.
    RelaxedAtomic<uint32_t> bEnableAsnLog{0};
    // The service hands it to its clients and does not use it.
    RelaxedAtomic<uint32_t> bLogOutputPara{0};
    // The global switches; a new logger starts with a copy of them.
    RelaxedAtomic<LevelSwitches> levelSwitches;
};

}  // namespace NS_LOG_SERVICE1
