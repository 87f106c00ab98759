// Prints an ASN message as text for the log.
#pragma once

#include <atomic>
#include <string>

#include "asn/asnobject.h"
#include "base/lockguard.h"
#include "base/logsettings.h"
#include "base/mutex.h"
#include "base/renew.h"

namespace NS_LOG_SERVICE1 {

// All dumps of the process use one buffer. An object of this class owns the buffer from its
// construction to its destruction. A dump that does not fit is cut, and a notice at the buffer's
// end says so.
//
// The buffer keeps its text until the next message is printed. Without a call of Print, Text
// returns the process's previous dump.
//
// Thread safety: the constructor waits until no other thread has an object. REQUIRES: a thread has
// one object at a time.
class AsnDump {
  public:
    AsnDump();
    ~AsnDump();

    AsnDump(const AsnDump&) = delete;
    AsnDump& operator=(const AsnDump&) = delete;

    // Prints the message into the buffer. Passes on what the message throws; the buffer is empty
    // then.
    void Print(const NS_ASN1::AsnObject& message);

    // The same, and masks the values that must not be shown for a message of this type.
    void PrintMasked(const NS_ASN1::AsnObject& message);

    // Returns a copy of the buffer's text.
    std::string Text() const;

    // See Logger.
    static void MakeStaticObjects();

    // In a child process: another thread of the parent may have been printing. The buffer is empty
    // then, because a text that is not complete is not masked yet.
    static void AfterForkInChild();

    // Prints the number of the calling thread and the text on standard output.
    static void Echo(const std::string& text);

  private:
    void PrintWhole(const NS_ASN1::AsnObject& message);
    static void MarkCut();

    LockGuard<Mutex> turn_;
};

// Returns whether dumps are echoed on standard output: the configuration item "bEnableAsnTrace". A
// value other than 0 is remembered until the process ends. When the item cannot be read, reports
// that and sets the log file size to its default.
bool ReadAsnTraceFlag(LogSettings& settings);

// The flag as one operation reads it: once, and again after a read that threw. Not a static local
// object: a fork beside its first use would leave that half made in the child.
//
// Thread safety: any thread may call any operation but AfterForkInChild.
class AsnTraceFlag {
  public:
    bool Get(LogSettings& settings) EXCLUDES(mutex_);

    // Another thread of the parent may have been reading.
    void AfterForkInChild() { Renew(mutex_); }

  private:
    enum Value { kNotRead, kOff, kOn };

    Mutex mutex_;
    std::atomic<Value> value_{kNotRead};  // written under the mutex
};

}  // namespace NS_LOG_SERVICE1
