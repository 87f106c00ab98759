// The logger's dumps of ASN messages.

#include "logger/asndump.h"
#include "logger/logger.h"
#include "qv_base_log/loglevel.h"

namespace NS_LOG_SERVICE1 {

void Logger::PrintAsn(const std::string& file, const std::string& function, unsigned int line,
                      NS_ASN1::AsnObject& message) {
    if (settings_.bEnableAsnLog == 0) {
        return;
    }
    static const bool echo = ReadAsnTraceFlag(settings_);
    AsnDump dump;
    dump.Print(message);
    const std::string text = dump.Text();
    Log(file, function, line, LOG_LEVEL_ASN_DUMP, text);
    if (echo) {
        AsnDump::Echo(text);
    }
}

// With level 3 off the message is not even printed, and the record that goes into the filtered
// cache repeats the previous dump: the shared buffer's text is what there is to log. So a later
// dump of the cache may show what PrintAsn wrote, unmasked.
void Logger::LogAsnTrace(const std::string& file, const std::string& function, unsigned int line,
                         NS_ASN1::AsnObject& message) {
    if (settings_.bEnableAsnLog == 0) {
        return;
    }
    static const bool echo = ReadAsnTraceFlag(settings_);
    AsnDump dump;
    if (levels_.Get()[LOG_LEVEL_3]) {
        dump.PrintMasked(message);
    }
    const std::string text = dump.Text();
    Log(file, function, line, LOG_LEVEL_3, text);
    if (echo) {
        AsnDump::Echo(text);
    }
}

}  // namespace NS_LOG_SERVICE1
