"""Orders of steps that the service keeps, and other single decisions: each change breaks one of them.
They are tried by every run, beside those that are chosen."""

from mutation.changes import Change

LOGGER = "src/logger/logger.cpp"
MONITOR = "src/logswitchmonitormgr"


def _swapped(flag, rest):
    read = f"    const bool echo = TheEchoes().{flag}.Get(settings_);\n"
    return read + "    AsnDump dump;\n" + rest, "    AsnDump dump;\n" + read + rest


ORDERS = [
    ("PrintAsn reads the trace flag in its turn", LOGGER,
     *_swapped("ofPrint", "    dump.Print(message);\n")),
    ("LogAsnTrace reads the trace flag in its turn", LOGGER,
     *_swapped("ofTrace", "    if (levels_.Get()[LOG_LEVEL_3]) {\n")),
    ("LogAsnTrace looks at its level before its turn", LOGGER,
     "    AsnDump dump;\n    if (levels_.Get()[LOG_LEVEL_3]) {\n",
     "    const bool on = levels_.Get()[LOG_LEVEL_3];\n    AsnDump dump;\n    if (on) {\n"),
    ("the clock is read behind the conversion", LOGGER,
     "    record.time = ACE_OS::gettimeofday();\n"
     "    record.level = std::min(level, static_cast<int>(LOG_LEVEL_3));\n"
     "    record.detail = NS_BUNDLEMGR1::Convert2UTFforLog(text, memory->converted);\n",
     "    record.level = std::min(level, static_cast<int>(LOG_LEVEL_3));\n"
     "    record.detail = NS_BUNDLEMGR1::Convert2UTFforLog(text, memory->converted);\n"
     "    record.time = ACE_OS::gettimeofday();\n"),
    ("the context is asked for before the clock", LOGGER,
     "    record.time = ACE_OS::gettimeofday();\n",
     "    BuildContextHeader(memory->context);\n    record.time = ACE_OS::gettimeofday();\n"),
    ("the clock is read behind the context", LOGGER,
     "    record.context = memory->context;\n",
     "    record.context = memory->context;\n    record.time = ACE_OS::gettimeofday();\n"),
    ("the level decides before the record is built", LOGGER,
     "    record.time = ACE_OS::gettimeofday();\n",
     "    const LevelSwitches levelsBefore = levels_.Get();\n"
     "    record.time = ACE_OS::gettimeofday();\n",
     "levels_.Get()[static_cast<size_t>(record.level)]",
     "levelsBefore[static_cast<size_t>(record.level)]"),
    ("a format that fails is reported behind its record", LOGGER,
     "    if (length < 0) {\n        kFormatFailed.Report();\n    }\n", "",
     "    Log(file, function, line, level, *text);\n",
     "    Log(file, function, line, level, *text);\n"
     "    if (length < 0) {\n        kFormatFailed.Report();\n    }\n"),
    ("one JSON writer serves all alarms", LOGGER,
     "    for (Json::ArrayIndex i = 0;", "    Json::FastWriter writer;\n"
     "    for (Json::ArrayIndex i = 0;", "Json::FastWriter().write", "writer.write"),
    ("the monitor sleeps for 10 seconds", MONITOR + ".h", "std::chrono::seconds(30)",
     "std::chrono::seconds(10)"),
    ("the monitor's event stays signalled", MONITOR + ".cpp",
     "stopEvent_(0, 0, USYNC_THREAD, nullptr),", "stopEvent_(1, 0, USYNC_THREAD, nullptr),"),
]


def orders(texts):
    """The changes; `texts` maps the files' names to what they hold."""
    changes = []
    for description, name, *pairs in ORDERS:
        text = texts[name]
        begins = [text.index(old) for old in pairs[::2]]
        begin = min(begins)
        end = max(start + len(old) for start, old in zip(begins, pairs[::2]))
        replacement = text[begin:end]
        for old, new in zip(pairs[::2], pairs[1::2]):
            replacement = replacement.replace(old, new, 1)
        changes.append(Change(name, begin, end, replacement, text.count("\n", 0, begin) + 1,
                              description))
    return changes
