#include "logger/logger.h"

#include <ace/OS_NS_sys_time.h>
#include <json/value.h>
#include <json/writer.h>
#include <pthread.h>

#include <algorithm>
#include <cstdarg>
#include <limits>
#include <string_view>

#include "base/boundedstring.h"
#include "base/copytext.h"
#include "base/lockguard.h"
#include "base/nodestructor.h"
#include "base/objectpool.h"
#include "bundlemgr/logsupport.h"
#include "channel/directoutput.h"
#include "diagnostic/messages.h"
#include "logger/asndump.h"
#include "qv_base_log/loglevel.h"
#include "record/logrecord.h"

namespace NS_LOG_SERVICE1 {
namespace {

// The size of a formatted message with its zero byte.
constexpr size_t kMessageSize = 4096;

// What EnableAllLevels and DisableAllLevels switch: no level, so both always throw
// std::out_of_range. The exception is part of the contract with clients; see docs/compatibility.md.
constexpr size_t kNoLevel = std::numeric_limits<size_t>::max();

// The texts of formatted messages. A thread may log while the process exits.
ObjectPool<std::string>& Messages() {
    static NoDestructor<ObjectPool<std::string>> messages;
    return *messages;
}

// Whether dumps are echoed, asked for once by each of the two operations.
struct Echoes {
    AsnTraceFlag ofPrint;
    AsnTraceFlag ofTrace;
};
Echoes& TheEchoes() {
    static NoDestructor<Echoes> echoes;
    return *echoes;
}

}  // namespace

Logger::Logger(const std::string& first, const std::string& second, const std::string& category,
               LogSettings& settings, ChannelMap& channels)
    : category_(category),
      first_(first),
      second_(second),
      settings_(settings),
      channels_(channels),
      channel_(channels.Find(category)),
      levels_(settings.levelSwitches.Get()) {}

// The manager destroys the channels first. A logger that a client keeps by mistake must not lead to
// one.
Logger::~Logger() {
    channel_ = nullptr;
}

bool Logger::EnableLevel(unsigned int level) {
    return SetLevel(level, true);
}

bool Logger::DisableLevel(unsigned int level) {
    return SetLevel(level, false);
}

bool Logger::EnableAllLevels() {
    return SetLevel(kNoLevel, true);
}

bool Logger::DisableAllLevels() {
    return SetLevel(kNoLevel, false);
}

// A level without a switch is reported by std::out_of_range, never by a false result; see
// docs/compatibility.md.
bool Logger::SetLevel(size_t position, bool on) {
    const LockGuard<Mutex> guard(levelMutex_);
    LevelSwitches levels = levels_;
    levels.set(position, on);
    levels_ = levels;
    return true;
}

void Logger::Log(const std::string& file, const std::string& function, unsigned int line, int level,
                 const std::string& text) {
    Acceptance acceptance(channel_.load(std::memory_order_acquire));
    const BorrowedCallMemory memory;
    const ACE_Time_Value time = ACE_OS::gettimeofday();
    const std::string& detail = NS_BUNDLEMGR1::Convert2UTFforLog(text, memory->converted);
    const pthread_t thread = pthread_self();
    memory->context.Build();
    const LogRecord record{std::min(level, static_cast<int>(LOG_LEVEL_3)),
                           time,
                           thread,
                           first_,
                           second_,
                           file,
                           function,
                           line,
                           detail,
                           memory->context.Text()};

    TEDebugInfoBuf* channel = FindChannel();
    acceptance.Done();
    if (channel == nullptr) {
        return;
    }
    const bool on = record.level < 0 || levels_.Get()[static_cast<size_t>(record.level)];
    if (!on) {
        channel->AppendFiltered(record, *memory);
    } else if (settings_.outputmode != kDirectOutput) {
        channel->AppendOutputInfo(record);
    } else {
        channel->Output(record, *memory);
    }
}

// The map is asked again only by a logger that was made before the channels.
TEDebugInfoBuf* Logger::FindChannel() {
    TEDebugInfoBuf* channel = channel_.load(std::memory_order_acquire);
    if (channel == nullptr) {
        channel = channels_.Find(category_);
        channel_.store(channel, std::memory_order_release);
    }
    return channel;
}

void Logger::LogFormat(const std::string& file, const std::string& function, unsigned int line,
                       int level, const char* format, ...) {
    Acceptance acceptance(channel_.load(std::memory_order_acquire));
    char message[kMessageSize];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf_s(message, sizeof message, sizeof message - 1, format, arguments);
    va_end(arguments);
    if (length < 0) {
        kFormatFailed.Report();
    }
    const Borrowed<std::string> text(Messages());
    AssignText(*text, length < 0 ? std::string_view(message)
                                 : std::string_view(message, static_cast<size_t>(length)));
    acceptance.Done();
    Log(file, function, line, level, *text);
}

// Both the switch for ASN messages and level 3 govern alarms. With either off they are not even
// kept back; see docs/compatibility.md.
void Logger::LogAlarm(const std::string& file, const std::string& function, unsigned int line,
                      const Json::Value& alarms) {
    if (settings_.bEnableAsnLog == 0 || !levels_.Get()[LOG_LEVEL_3]) {
        return;
    }
    for (Json::ArrayIndex i = 0; i < alarms.size(); ++i) {
        Acceptance acceptance(channel_.load(std::memory_order_acquire));
        const std::string text = "\n RestAlarm:" + Json::FastWriter().write(alarms[i]);
        acceptance.Done();
        Log(file, function, line, LOG_LEVEL_3, text);
    }
}

void Logger::PrintAsn(const std::string& file, const std::string& function, unsigned int line,
                      NS_ASN1::AsnObject& message) {
    if (settings_.bEnableAsnLog == 0) {
        return;
    }
    Acceptance acceptance(channel_.load(std::memory_order_acquire));
    const bool echo = TheEchoes().ofPrint.Get(settings_);
    AsnDump dump;
    dump.Print(message);
    const std::string text = dump.Text();
    acceptance.Done();
    Log(file, function, line, LOG_LEVEL_ASN_DUMP, text);
    if (echo) {
        AsnDump::Echo(text);
    }
}

// With level 3 off the message is not printed, and the record that is kept back repeats the
// process's previous dump, which is still in the shared buffer. If PrintAsn made that dump, the
// record shows its text unmasked; see docs/compatibility.md.
void Logger::LogAsnTrace(const std::string& file, const std::string& function, unsigned int line,
                         NS_ASN1::AsnObject& message) {
    if (settings_.bEnableAsnLog == 0) {
        return;
    }
    Acceptance acceptance(channel_.load(std::memory_order_acquire));
    const bool echo = TheEchoes().ofTrace.Get(settings_);
    AsnDump dump;
    if (levels_.Get()[LOG_LEVEL_3]) {
        dump.PrintMasked(message);
    }
    const std::string text = dump.Text();
    acceptance.Done();
    Log(file, function, line, LOG_LEVEL_3, text);
    if (echo) {
        AsnDump::Echo(text);
    }
}

void Logger::MakeStaticObjects() {
    FreeMemory();  // makes the pools, which have nothing to free yet
    AsnDump::MakeStaticObjects();
    TheEchoes();
}

void Logger::AfterForkInChild() {
    AsnDump::AfterForkInChild();
    TheEchoes().ofPrint.AfterForkInChild();
    TheEchoes().ofTrace.AfterForkInChild();
}

void Logger::FreeMemory() {
    Messages().Clear();
    BorrowedCallMemory::FreeSpares();
}

bool Logger::IsLevelEnabled(const unsigned int& level) {
    return IsLevelOn(settings_.levelSwitches, level);
}

}  // namespace NS_LOG_SERVICE1
