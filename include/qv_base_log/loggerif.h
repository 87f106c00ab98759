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

// Given out by LogSvcInterface::GetLogger. The logging service owns it: never delete it, and do
// not use it any more once the service has been finished (LogSvcInterface::Fini).
//
// Each logger has a switch for each of the levels 0 to 3, which starts as a copy of the service's
// global switches. A record whose switch is off is not lost at once: the service keeps back the
// newest such records of the category ("filterbuflength" of them) and writes them around the next
// record of level 0. Older ones are lost, and so is what is still kept back when the service ends.
//
// Errors: the logging operations report nothing to the caller. A record is lost when no log file
// can be opened or a write fails. What crosses the interface as an exception is std::bad_alloc,
// what the caller's own objects throw (JSON values, ASN messages), std::out_of_range where it is
// named below, and, from the first dump of an ASN message, the platform's
// InterfaceNotExistException when the configuration is out of reach. No lock is held any more when
// an exception arrives.
//
// Thread safety: any thread may call any operation at any time. The records of one thread that are
// written keep their order within a category, except while queued output is written out from
// elsewhere (periodically or on request) or is switched: a record may then overtake older ones.
//
// Texts: every text ends, in the file, at its first zero byte. The text of a record is converted
// to valid UTF-8; file and function are written as they are.
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
    // DisableLevel for each of them.
    virtual bool EnableAllLevels() = 0;
    virtual bool DisableAllLevels() = 0;

    // Logs `text`. `file`, `function` and `line` name the place of the call in the source. `level`:
    // see LogLevel. When output is not queued, the record has reached the operating system when
    // the call returns.
    virtual void Log(const std::string& file, const std::string& function, unsigned int line,
                     int level, const std::string& text) = 0;

    // Logs a message in printf style. What is longer than 4095 bytes is cut there, and the
    // service reports the cut through the platform's log proxy; the conversion %n is refused. The
    // formatted text then goes through Log.
    virtual void LogFormat(const std::string& file, const std::string& function, unsigned int line,
                           int level, const char* format, ...)
        __attribute__((format(printf, 6, 7))) = 0;

    // Logs an ASN message at level 3, with the passwords, customer and location data that its type
    // is known to carry replaced by asterisks. Does nothing unless "bEnableAsnLog" is on.
    //
    // Mind: while this logger's level 3 is off, the message is not printed; the text of the
    // previous dump of the process, whatever wrote it, is logged again at level 3 instead. See
    // PrintAsn for what that may hold.
    virtual void LogAsnTrace(const std::string& file, const std::string& function,
                             unsigned int line, NS_ASN1::AsnObject& message) = 0;

    // Logs each element of the array `alarms` as a record of its own, level 3, as compact JSON.
    // Does nothing unless "bEnableAsnLog" is on and this logger's level 3 is on. Throws what the
    // JSON library throws when `alarms` is neither an array nor null.
    virtual void LogAlarm(const std::string& file, const std::string& function, unsigned int line,
                          const Json::Value& alarms) = 0;

    // Logs an ASN message as it is, at level -1, which no switch suppresses. Nothing is masked:
    // choose LogAsnTrace for messages that carry secrets. Does nothing unless "bEnableAsnLog" is
    // on.
    virtual void PrintAsn(const std::string& file, const std::string& function, unsigned int line,
                          NS_ASN1::AsnObject& message) = 0;

    // Whether `level` is on in the service's global switches, false above 3. The logger's own
    // switches, which decide what this logger writes, may differ.
    virtual bool IsLevelEnabled(const unsigned int& level) = 0;
};

}  // namespace NS_LOG_SERVICE1
