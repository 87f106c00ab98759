// One ASN message on its way into the log, as text.
#pragma once

#include <string>

#include "asn/asnobject.h"
#include "base/lockguard.h"
#include "base/logsettings.h"
#include "base/mutex.h"

namespace NS_LOG_SERVICE1 {

// All dumps of the process go through one buffer, one at a time: an object of this class is the
// turn of one dump, from its construction to its destruction. A dump that does not fit is cut at
// the buffer's end, where a notice says so.
//
// The buffer keeps its text until the next message is printed. Text can be called without a Print
// before it and then gives the previous dump of the process.
//
// Thread safety: the constructor waits until no other thread's object exists. A thread has one
// object at a time.
class AsnDump {
  public:
    AsnDump();
    ~AsnDump();

    AsnDump(const AsnDump&) = delete;
    AsnDump& operator=(const AsnDump&) = delete;

    // Prints the message into the buffer. What the message throws passes out; the buffer is empty
    // then.
    void Print(const NS_ASN1::AsnObject& message);

    // The same, and masks the values that a message of its type must not show.
    void PrintMasked(const NS_ASN1::AsnObject& message);

    // A copy of the buffer's text.
    std::string Text() const;

    // Prints the text on standard output, with the calling thread in front.
    static void Echo(const std::string& text);

  private:
    void PrintWhole(const NS_ASN1::AsnObject& message);
    static void MarkCut();

    LockGuard<Mutex> turn_;
};

// Whether dumps are echoed on standard output: the configuration item "bEnableAsnTrace". A value
// other than 0 is remembered for the life of the process. Where the item cannot be read, this is
// reported and the log file size goes back to its default.
bool ReadAsnTraceFlag(LogSettings& settings);

}  // namespace NS_LOG_SERVICE1
