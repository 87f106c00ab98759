// Every text that the service reports about itself.
#pragma once

#include "diagnostic/diagnostic.h"

namespace NS_LOG_SERVICE1 {

// Defined in logimpl.cpp.

extern const Diagnostic kInitFailed;
// Items of the configuration that cannot be read.
extern const Diagnostic kNoLogFileSize;
extern const Diagnostic kNoLogFileCount;
extern const Diagnostic kNoQueueLength;
extern const Diagnostic kNoFilterLength;
extern const Diagnostic kNoLogTimeInterval;
extern const Diagnostic kNoOutputMode;
extern const Diagnostic kNoEnableAsnLog;
extern const Diagnostic kNoLogOutputPara;
extern const Diagnostic kNoEnableAsnTrace;
extern const Diagnostic kMeaninglessOutputMode;  // the mode

extern const Diagnostic kTaskNotDeleted;
extern const Diagnostic kEnablingRefused;   // the logger's three names
extern const Diagnostic kDisablingRefused;  // the logger's three names

extern const Diagnostic kFormatFailed;
extern const Diagnostic kDumpFormatFailed;

extern const Diagnostic kRecordsNotWritten;   // category, number, the last error's text
extern const Diagnostic kRecordsOverwritten;  // category, number

// Defined in logswitchmonitormgr.cpp.

extern const Diagnostic kMonitorWithoutFile;
extern const Diagnostic kFileOutOfReach;
extern const Diagnostic kPassFailed;
extern const Diagnostic kMonitorGone;
extern const Diagnostic kNoLogSwitchItem;
extern const Diagnostic kNoAsnLogItem;
extern const Diagnostic kNoOutputParaItem;
extern const Diagnostic kLogSwitchNotSplit;  // the item's value
extern const Diagnostic kLogSwitchInvalid;
extern const Diagnostic kNoLogManager;
extern const Diagnostic kLevelsChanged;      // what has changed
extern const Diagnostic kAsnLogInvalid;      // the item's value
extern const Diagnostic kAsnLogChanged;      // the new value
extern const Diagnostic kOutputParaInvalid;  // the item's value
extern const Diagnostic kOutputParaChanged;  // the new value

}  // namespace NS_LOG_SERVICE1
