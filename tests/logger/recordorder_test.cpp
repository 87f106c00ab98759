// In which order a record is made: the clock, the text, the context, and the decision what becomes
// of it; also a record of the service itself. This program has a clock, a conversion, time stamps,
// thread contexts and JSON writers of its own in the place of the libraries' and the platform's.
#include <dlfcn.h>
#include <json/value.h>
#include <json/writer.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <functional>

#include "channel/channel.h"
#include "manager/managerfixture.h"
#include "support/records.h"
#include "util/threadcontext.h"

using namespace NS_TEST;

namespace {

// What the calling thread's record has asked for so far.
struct Steps {
    std::vector<std::string> taken;
    bool observed = false;  // else nothing is noted, and the clock works
    bool clockFails = false;
    int contexts = 0;
    std::function<void(const std::string&)> onStep;

    void Take(const std::string& step) {
        if (observed) {
            taken.push_back(step);
            if (onStep) {
                onStep(step);
            }
        }
    }
};
thread_local Steps t_steps;

int ReadClock(clockid_t clock, struct timespec* time) {
    t_steps.Take("clock");
    if (t_steps.observed && t_steps.clockFails) {
        errno = EPERM;
        return -1;
    }
    return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int clock_gettime(
    clockid_t clock, struct timespec* time) noexcept {
    return clock == CLOCK_REALTIME ? ReadClock(clock, time)
                                   : static_cast<int>(syscall(SYS_clock_gettime, clock, time));
}

extern "C" __attribute__((visibility("default"))) int gettimeofday(struct timeval* time,
                                                                   void*) noexcept {
    struct timespec now;
    if (ReadClock(CLOCK_REALTIME, &now) != 0) {
        return -1;
    }
    time->tv_sec = now.tv_sec;
    time->tv_usec = now.tv_nsec / 1000;
    return 0;
}

namespace NS_UTIL {

// Another answer each time.
ThreadContextInfo ThreadContextMgr::GetThreadContext() const noexcept {
    t_steps.Take("context");
    const std::string number = std::to_string(++t_steps.contexts);
    return ThreadContextInfo(t_steps.contexts, "interface" + number, "user" + number,
                             "uuid" + number);
}

// Does what the platform's does.
ThreadContextInfo::~ThreadContextInfo() {
    using Destructor = void (*)(ThreadContextInfo*);
    static const auto destructor =
        reinterpret_cast<Destructor>(dlsym(RTLD_NEXT, "_ZN7NS_UTIL17ThreadContextInfoD1Ev"));
    t_steps.Take("drop");
    destructor(this);
}

}  // namespace NS_UTIL

namespace NS_BUNDLEMGR1 {

const std::string& Convert2UTFforLog(const std::string& text, std::string& converted) {
    t_steps.Take("conversion");
    converted = "converted " + text;
    return converted;
}

// Does what the platform's does.
void GetZoneTimeStamp(const ACE_Time_Value& time, std::string& stamp) {
    using Stamp = void (*)(const ACE_Time_Value&, std::string&);
    static const auto original = reinterpret_cast<Stamp>(
        dlsym(RTLD_NEXT,
              "_ZN13NS_BUNDLEMGR116GetZoneTimeStampERK14ACE_Time_ValueRNSt7__cxx1112basic_"
              "stringIcSt11char_traitsIcESaIcEEE"));
    t_steps.Take("stamp");
    original(time, stamp);
}

}  // namespace NS_BUNDLEMGR1

// One that has written is not used again: what an alarm that throws leaves in it would be the next
// one's.
Json::FastWriter::FastWriter() {
    t_steps.Take("writer");
}

namespace {

class RecordOrder : public NS_TEST::ManagerTest {
  protected:
    // Logs a record whose steps are noted.
    static void Observe(int level) {
        NS_LOG_SERVICE1::Logger* const logger = Debug();
        t_steps.taken.clear();
        t_steps.contexts = 0;
        t_steps.observed = true;
        logger->Log("f.cpp", "Run", 7, level, "text");
        t_steps.observed = false;
    }
};

// Whether its level is on or off: a record that is kept back must be whole when it is dumped.
TEST_F(RecordOrder, IsTheClockThenTheTextThenTheContextAsOftenAsItHasItems) {
    Manager().outputmode = 1;
    for (const int level : {-1, 1}) {
        Observe(level);
        EXPECT_THAT(t_steps.taken,
                    testing::ElementsAre("clock", "conversion", "context", "drop", "context",
                                         "drop", "context", "drop", "context", "drop"));
    }
    Debug()->EnableLevel(0);
    t_steps.contexts = 4;
    Debug()->Log("f.cpp", "Run", 7, 0, "trigger");
    const std::string context = "uuid4,TopT:1,If:interface2,UserMsg:user3";
    EXPECT_EQ(Written("debug"),
              Frame(1, -1, "converted text", context) +
                  FrameOf(FieldsOf("uuid8,TopT:5,If:interface6,UserMsg:user7"), 2, 0,
                          "converted trigger", Dump(DumpedLine(1, "converted text", context))));
}

// A client's thread may switch the level, or the output mode, until the record is whole.
TEST_F(RecordOrder, EndsWithTheDecision) {
    const auto& statistics = Manager().Channels().Find("debug")->Statistics();
    for (const char* last : {"conversion", "context"}) {
        Debug()->EnableLevel(1);
        Manager().outputmode = 0;
        t_steps.onStep = [last](const std::string& step) {
            if (step == last) {
                Manager().outputmode = 1;
                Debug()->DisableLevel(1);
            }
        };
        const uint64_t cached = statistics.keptBack.Get();
        Observe(1);
        EXPECT_EQ(statistics.keptBack.Get(), cached + 1) << last;

        Manager().outputmode = 0;
        const uint64_t queued = statistics.queued.Get();
        Observe(-1);
        EXPECT_EQ(statistics.queued.Get(), queued + 1) << last;
    }
    t_steps.onStep = nullptr;
    EXPECT_TRUE(ListFiles(Path()).empty());
}

// The file is open, so that no line about its creation is stamped.
TEST_F(RecordOrder, IsTheClockThenTheContextForTheServicesOwnRecords) {
    NS_LOG_SERVICE1::TEDebugInfoBuf channel("debug", 1, 1, 1000000, 1);
    channel.Flush();
    const std::vector<std::string> own = {"clock",   "context", "drop",    "context", "drop",
                                          "context", "drop",    "context", "drop"};
    t_steps.taken.clear();
    t_steps.observed = true;
    channel.AppendOutputInfo(WithDetail("fills the queue").Get());
    t_steps.observed = false;
    std::vector<std::string> notice = own;
    notice.insert(notice.end(), {"stamp", "stamp"});
    EXPECT_EQ(t_steps.taken, notice) << "made before the queue is written";

    NS_LOG_SERVICE1::TEDebugInfoBuf dumped("debug", 2, 1, 1000000, 1);
    dumped.Flush();
    dumped.AppendOutputInfo(WithDetail("queued").Get());
    t_steps.taken.clear();
    t_steps.observed = true;
    dumped.OutputAll();
    t_steps.observed = false;
    std::vector<std::string> head = {"stamp"};
    head.insert(head.end(), own.begin(), own.end());
    head.insert(head.end(), "stamp");
    EXPECT_EQ(t_steps.taken, head) << "made behind the queue";
}

TEST_F(RecordOrder, HasAJsonWriterForEachAlarm) {
    Manager().bEnableAsnLog = 1;
    Manager().outputmode = 1;  // no file, whose name needs the clock
    NS_LOG_SERVICE1::Logger* const logger = Debug();
    logger->EnableLevel(3);
    Json::Value alarms(Json::arrayValue);
    alarms.append("one");
    alarms.append("two");
    t_steps.taken.clear();
    t_steps.observed = true;
    logger->LogAlarm("f.cpp", "Run", 7, alarms);
    t_steps.observed = false;
    const std::vector<std::string> each = {"writer", "clock",   "conversion", "context",
                                           "drop",   "context", "drop",       "context",
                                           "drop",   "context", "drop"};
    std::vector<std::string> both = each;
    both.insert(both.end(), each.begin(), each.end());
    EXPECT_EQ(t_steps.taken, both);
}

TEST_F(RecordOrder, GivesATimeOneSecondBeforeTheBeginningWhenTheClockFails) {
    const ScopedTimeZone zone(UTC);
    Manager().outputmode = 1;
    t_steps.clockFails = true;
    Observe(-1);
    EXPECT_EQ(t_steps.taken.front(), "clock");
    Manager().FlushAll();
    const auto records = OfKind(ParseLogDirectory(Path("log")), ParsedPiece::RECORD);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].record.stamp, "1969-12-31T23:59:59.000000+00:00");
    EXPECT_EQ(records[0].record.detail, "converted text");
}

}  // namespace
