// The logger: the object through which a bundle writes its log records.
#pragma once

#include <string>

namespace Json {
class Value;
}

namespace NS_ASN1 {
class AsnObject;
}

namespace NS_LOG_SERVICE1 {

// LogSvcInterface::GetLogger returns it. The logging service owns it: never delete it, and do not
// use it after LogSvcInterface::Fini.
//
// Each logger has a switch for each of the levels 0 to 3. They start as a copy of the service's
// global switches. A record whose level is off is not lost at once. The service keeps back the
// newest such records of the category ("filterbuflength" of them) and writes them with the next
// record of level 0 that is written; one whose level is off is kept back like any other. Older ones
// are lost, and so are those that are still kept back when the service ends.
//
// Errors: the logging operations report nothing to the caller. A record is lost when no log file
// can be opened or a write fails, and, under LOG_FILE_POLICY_KEEP_RECORDS of the maintenance
// interface, in the pause that follows. A file that is full within the second in which it was made
// loses all its records, because the next file has the same name; that policy continues the file
// instead. The service counts what is lost so. What is logged before its `init` is lost uncounted.
// Queued records are lost when the process dies. What the service meets at a file does not show in
// errno.
//
// Exceptions: std::bad_alloc, std::out_of_range where it is named below, and what the caller's own
// objects throw (JSON values, ASN messages). LogAsnTrace and PrintAsn also pass on the platform's
// InterfaceNotExistException, until each of them has read the configuration once. The record of a
// call that throws is counted as lost if it was neither written nor queued. Alarms behind it in the
// same call are not logged, and not counted. No lock is held when an exception arrives.
//
// Thread safety: any thread may call any operation at any time. The written records of one thread
// keep their order within a category. But when queued output is written out periodically or on
// request, or is switched, a record may overtake older ones. A thread that is cancelled while it
// logs (pthread_cancel, deferred) completes its record and ends behind the call.
//
// Texts: in the file every text ends at its first zero byte. The text of a record is converted to
// valid UTF-8. File and function are written as they are.
//
// Virtual slots: 0 and 1 destructor, then as declared (2 to 11).
class LoggerIF {
  public:
    virtual ~LoggerIF() = default;

    // Switches `level` (0 to 3) on or off for this logger. Always returns true. Throws
    // std::out_of_range for a level of 4 or more, and changes nothing then.
    virtual bool EnableLevel(unsigned int level) = 0;
    virtual bool DisableLevel(unsigned int level) = 0;

    // Always throw std::out_of_range and change nothing. To switch all levels, call EnableLevel or
    // DisableLevel for each level.
    virtual bool EnableAllLevels() = 0;
    virtual bool DisableAllLevels() = 0;

    // Logs `text`. `file`, `function` and `line` name the place of the call in the source. `level`:
    // see LogLevel. In direct output the record has reached the operating system when the call
    // returns.
    virtual void Log(const std::string& file, const std::string& function, unsigned int line,
                     int level, const std::string& text) = 0;

    // Formats a message in printf style and logs it through Log. Cuts a message at 4095 bytes and
    // reports that through the platform's log proxy. Refuses a null format and one with the
    // conversion %n: logs an empty text and reports that in the same way. "%s" with a null pointer
    // prints "(null)".
    virtual void LogFormat(const std::string& file, const std::string& function, unsigned int line,
                           int level, const char* format, ...)
        __attribute__((format(printf, 6, 7))) = 0;

    // Logs an ASN message at level 3. Replaces the passwords, customer and location data that a
    // message of its type carries by asterisks. Cuts the text at 4,096,000 bytes. Does nothing
    // unless "bEnableAsnLog" is on.
    //
    // Mind: while this logger's level 3 is off, the message is not printed. Instead the text of the
    // process's previous dump is logged again at level 3, and so kept back. If PrintAsn has made
    // that dump, the text is not masked.
    //
    // All dumps of the process take turns. REQUIRES: the message does not dump another message
    // while it prints itself; it would wait for itself for ever.
    virtual void LogAsnTrace(const std::string& file, const std::string& function,
                             unsigned int line, NS_ASN1::AsnObject& message) = 0;

    // Logs each element of the array `alarms` as a record of its own, level 3, as compact JSON.
    // Does nothing unless "bEnableAsnLog" is on and this logger's level 3 is on. Any other value
    // has no elements, and nothing is logged; but for an object that is not empty, throws what the
    // JSON library throws.
    virtual void LogAlarm(const std::string& file, const std::string& function, unsigned int line,
                          const Json::Value& alarms) = 0;

    // Logs an ASN message as it is, at level -1, which has no switch. Masks nothing: choose
    // LogAsnTrace for messages that carry secrets. Cuts the text and REQUIRES the same as
    // LogAsnTrace. Does nothing unless "bEnableAsnLog" is on.
    virtual void PrintAsn(const std::string& file, const std::string& function, unsigned int line,
                          NS_ASN1::AsnObject& message) = 0;

    // Returns whether `level` is on in the service's global switches; false above 3. The logger's
    // own switches decide what it writes, and may differ.
    virtual bool IsLevelEnabled(const unsigned int& level) = 0;
};

}  // namespace NS_LOG_SERVICE1
