"""Orders of steps that the service keeps, and other single decisions: each change breaks one of them.
They are tried by every run, beside those that are chosen. As a program, called in the project's root,
this says whether the code still has what they change."""

import pathlib

from mutation.changes import Change, without_comments

LOGGER = "src/logger/logger.cpp"
MONITOR = "src/logswitchmonitormgr"
SERVICE = "src/logimpl.cpp"
MANAGER = "src/manager/logmgr.cpp"
CHANNEL = "src/channel/channel.cpp"

CLOCK = "    const ACE_Time_Value time = ACE_OS::gettimeofday();\n"
CONVERSION = ("    const std::string& detail = "
              "NS_BUNDLEMGR1::Convert2UTFforLog(text, memory->converted);\n")
CONTEXT = "    memory->context.Build();\n"
REPORT = "    if (length < 0) {\n        kFormatFailed.Report();\n    }\n"
LOG_TEXT = "    Log(file, function, line, level, *text);\n"


def _swapped(flag, rest):
    read = f"    const bool echo = TheEchoes().{flag}.Get(settings_);\n"
    return read + "    AsnDump dump;\n" + rest, "    AsnDump dump;\n" + read + rest


# A description, a file, and pairs of what is replaced and by what.
ORDERS = [
    ("PrintAsn reads the trace flag in its turn", LOGGER,
     *_swapped("ofPrint", "    dump.Print(message);\n")),
    ("LogAsnTrace reads the trace flag in its turn", LOGGER,
     *_swapped("ofTrace", "    if (levels_.Get()[LOG_LEVEL_3]) {\n")),
    ("LogAsnTrace looks at its level before its turn", LOGGER,
     "    AsnDump dump;\n    if (levels_.Get()[LOG_LEVEL_3]) {\n",
     "    const bool on = levels_.Get()[LOG_LEVEL_3];\n    AsnDump dump;\n    if (on) {\n"),
    ("the clock is read behind the conversion", LOGGER, CLOCK + CONVERSION, CONVERSION + CLOCK),
    ("the context is asked for before the clock", LOGGER,
     CONTEXT, "", CLOCK, CONTEXT + CLOCK),
    ("the clock is read behind the context", LOGGER,
     CLOCK, "", CONTEXT, CONTEXT + CLOCK),
    ("the level decides before the record is built", LOGGER,
     CLOCK, "    const LevelSwitches levelsBefore = levels_.Get();\n" + CLOCK,
     "levels_.Get()[static_cast<size_t>(record.level)]",
     "levelsBefore[static_cast<size_t>(record.level)]"),
    ("a format that fails is reported behind its record", LOGGER,
     REPORT, "", LOG_TEXT, LOG_TEXT + REPORT),
    ("one JSON writer serves all alarms", LOGGER,
     "    for (Json::ArrayIndex i = 0;", "    Json::FastWriter writer;\n"
     "    for (Json::ArrayIndex i = 0;", "Json::FastWriter().write", "writer.write"),

    ("the monitor sleeps for 10 seconds", MONITOR + ".h", "std::chrono::seconds(30)",
     "std::chrono::seconds(10)"),
    ("the monitor's event stays signalled", MONITOR + ".cpp",
     "stopEvent_(0, 0, USYNC_THREAD, nullptr),", "stopEvent_(1, 0, USYNC_THREAD, nullptr),"),

    ("the monitor's thread does not say that it has started", MONITOR + ".cpp",
     "int LogSwitchMonitorMgr::svc() {\n    started_ = true;\n", "int LogSwitchMonitorMgr::svc() {\n"),

    ("the service object gives its base another bundle's name", SERVICE,
     'ServiceObjectBase(kBundleName', 'ServiceObjectBase("qv_base_other"'),
    ("Fini does not create a monitor that is missing", SERVICE,
     "if (LogSwitchMonitorMgr* monitor = LogSwitchMonitorMgr::Instance()) {\n"
     "        monitor->EndForgottenThread();",
     "if (LogSwitchMonitorMgr* monitor = LogMgr::InstanceIfAny() == nullptr\n"
     "        ? nullptr : LogSwitchMonitorMgr::Instance()) {\n"
     "        monitor->EndForgottenThread();"),
    ("GetLogger cuts the first text at a zero byte", SERVICE,
     "manager->GetLogger(first, second, category)",
     "manager->GetLogger(first.c_str(), second, category)"),
    ("GetLogger cuts the second text at a zero byte", SERVICE,
     "manager->GetLogger(first, second, category)",
     "manager->GetLogger(first, second.c_str(), category)"),
    ("an exception of the configuration store's accessor leaves Init", SERVICE,
     "    try {\n        NS_BUNDLEMGR1::CorbaConfigItems* items = "
     "NS_BUNDLEMGR1::CorbaConfigItems::Instance();\n",
     "    NS_BUNDLEMGR1::CorbaConfigItems* items = "
     "NS_BUNDLEMGR1::CorbaConfigItems::Instance();\n    try {\n"),
    ("the interface's destructor destroys the manager", "src/logimpl.h",
     "namespace NS_LOG_SERVICE1 {\n", '#include "manager/logmgr.h"\nnamespace NS_LOG_SERVICE1 {\n',
     "    bool Init() override;\n",
     "    ~LogSvcIFImpl() override { LogMgr::DestroyInstance(); }\n    bool Init() override;\n"),

    ("each thread asks for the log proxy", "src/diagnostic/logproxycache.cpp",
     "    static LogProxyCache cache;\n", "    static thread_local LogProxyCache cache;\n"),
    ("each thread asks for the service's own logger", "src/lookup/ownlogger.cpp",
     "std::atomic<LoggerIF*> ownLogger{nullptr};",
     "thread_local std::atomic<LoggerIF*> ownLogger{nullptr};"),
    ("an exception is reported through another slot", "src/lookup/ownlogger.cpp",
     "logger->Log(exception", "logger->LogFormat(exception",
     "exception.GetDescription());", '"%s", exception.GetDescription().c_str());'),
    ("the module table's lock is shared between processes", "src/base/readwritemutex.h",
     "    ACE_RW_Mutex mutex_;\n", "    ACE_RW_Mutex mutex_{USYNC_PROCESS};\n"),
    ("readers of a module switch wait for each other", "src/control/moduleswitchtable.cpp",
     "    const ReadGuard guard(mutex_);\n    const auto found",
     "    const WriteGuard guard(mutex_);\n    const auto found"),

    ("the loggers end before the channels", MANAGER, "    channels_.Destroy();\n",
     "    loggers_.~LoggerList();\n    new (&loggers_) LoggerList();\n    channels_.Destroy();\n"),
    ("DisableLoggerLevels enables", MANAGER,
     "return logger.DisableAllLevels(); });", "return logger.EnableAllLevels(); });"),
    ("the channels are created in reverse order", "src/channel/channelmap.cpp",
     "    for (size_t i = 0; i < kLogCategoryCount; ++i) {\n"
     "        const std::string category = kLogCategories[i];",
     "    for (size_t i = kLogCategoryCount; i-- > 0;) {\n"
     "        const std::string category = kLogCategories[i];"),
    ("the channels end in reverse order", "src/channel/channelmap.cpp",
     "    for (auto& [category, channel] : channels_) {\n        channel.reset();\n    }\n",
     "    for (auto entry = channels_.rbegin(); entry != channels_.rend(); ++entry) {\n"
     "        entry->second.reset();\n    }\n"),
    ("Flush writes with the buffer mutex held", CHANNEL,
     "        queue_.MoveRecordsTo(taken);\n        CountBuffered();\n    }\n",
     "        queue_.MoveRecordsTo(taken);\n        CountBuffered();\n",
     "    {\n        const Guard fileGuard(fileMutex_);\n        WriteAll(taken);\n    }\n",
     "        const Guard fileGuard(fileMutex_);\n        WriteAll(taken);\n    }\n"),
    ("OutputAll writes with the buffer mutex held", CHANNEL,
     "        CountBuffered();\n    }\n    {\n        const Guard fileGuard(fileMutex_);\n"
     "        WriteAllBefore(takenQueue",
     "        CountBuffered();\n        const Guard fileGuard(fileMutex_);\n"
     "        WriteAllBefore(takenQueue"),
    ("the process number is remembered across a fork", "src/channel/logfilename.cpp",
     "    return prefix + CreationStamp() + \"_\" + std::to_string(::getpid())",
     "    static const auto process = ::getpid();\n"
     "    return prefix + CreationStamp() + \"_\" + std::to_string(process)"),
]


def _change(text, description, name, pairs):
    for old in pairs[::2]:
        if text.count(old) != 1:
            raise LookupError(f"{name} does not have once what is changed so that {description}: {old}")
    begins = [text.index(old) for old in pairs[::2]]
    begin = min(begins)
    end = max(start + len(old) for start, old in zip(begins, pairs[::2]))
    replacement = text[begin:end]
    for old, new in zip(pairs[::2], pairs[1::2]):
        replacement = replacement.replace(old, new, 1)
    return Change(name, begin, end, without_comments(replacement), text.count("\n", 0, begin) + 1,
                  description)


def orders(texts):
    """The changes; `texts` maps the files' names to what they hold. LookupError where the code
    does not have what an order changes any more."""
    return [_change(texts[name], description, name, pairs) for description, name, *pairs in ORDERS]


if __name__ == "__main__":
    FITTING = orders({name: pathlib.Path(name).read_text() for _, name, *_ in ORDERS})
    print(f"Orders: the code has what {len(FITTING)} changes of the mutants break.")
