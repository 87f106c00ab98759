// A channel as a whole: where its files go, what it locks while it writes, and exceptions.
#include "channel/channel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <chrono>
#include <functional>
#include <future>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

#include "channel/channelfixture.h"
#include "channel/timestamps.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;
using testing::ElementsAre;
using testing::IsEmpty;

// The microseconds of their times.
constexpr int64_t kOfFiles = SystemCalls::kMicrosecond;
constexpr int64_t kOfRecords = 123456;

class Channel : public ChannelTest {
  protected:
    ~Channel() override { RefuseTimesAfter(-1); }

    // From now on a file can be created, but no record be written: no time is rendered behind that
    // of the file's first line.
    static void RefuseRecords() { RefuseTimesAfter(1); }
};

TEST_F(Channel, StartsWithNothingAndTouchesNoFile) {
    const LogFileStatistics& file = channel_->FileStatistics();
    for (const Counter* const counter :
         {&channel_->Statistics().queued, &channel_->Statistics().queuedMost,
          &channel_->Statistics().keptBack, &channel_->Statistics().evicted, &file.recordsWritten,
          &file.recordsDumped, &file.recordsDropped, &file.bytesWritten, &file.rotations,
          &file.lastError, &file.lastErrorSecond}) {
        EXPECT_EQ(counter->Get(), 0u);
    }
    EXPECT_EQ(channel_->CurrentPath(), "");
    EXPECT_TRUE(ListFiles(Path()).empty());
}

// Each channel has files and numbers of its own, in the directory that was the agent's when the
// channel was made.
TEST_F(Channel, WritesUnderTheNameOfItsCategory) {
    TEDebugInfoBuf other("corba_internal_oper", 10, 10, 100000, 5);
    const ScopedVariable elsewhere("_APP_SHARE_DIR", Path("elsewhere"));
    Output("one");
    Output("two");
    other.Output(WithDetail("three").Get());
    EXPECT_EQ(channel_->CurrentPath(), Path("log/" + NameNow()));
    EXPECT_EQ(other.CurrentPath(), Path("log/" + NameNow("unbi_corba_internal_oper_")));
    EXPECT_EQ(ReadFile(channel_->CurrentPath()), Created() + Frame(1, "one") + Frame(2, "two"));
    EXPECT_EQ(ReadFile(other.CurrentPath()), Created() + Frame(1, "three"));
}

TEST_F(Channel, CanBeMoved) {
    Output("one");
    EXPECT_EQ(channel_->ChangePath(Path("new"), "unbi_moved_"), 0);
    EXPECT_EQ(channel_->CurrentPath(), Path("new/" + NameNow("unbi_moved_")));
    Output("two");
    EXPECT_EQ(CountFiles(), 0u);
    EXPECT_EQ(Written("new"), Created() + Created() + Frame(1, "one") + Closed() + Frame(2, "two"));
}

// Whoever follows the calls to the platform meets them in the order of the lines, and none for a
// record that has no file.
TEST_F(Channel, RendersTheTimesInTheOrderOfTheLines) {
    RenderedTimes times;
    Output("one");
    EXPECT_THAT(times.Take(), ElementsAre(kOfFiles, kOfRecords));
    Output("two");
    EXPECT_THAT(times.Take(), ElementsAre(kOfRecords));
    Make(10, 10, 1);
    Calls().ScriptOpens([](uint64_t number) { return number > 1 ? EMFILE : 0; });
    times.Take();
    Output("fills the file, and no other one can be opened");
    EXPECT_THAT(times.Take(), ElementsAre(kOfFiles, kOfRecords, kOfFiles));
    Output("lost");
    EXPECT_THAT(times.Take(), IsEmpty());
}

TEST_F(Channel, RendersTheTimesInTheOrderOfTheLinesOfAChild) {
#if defined(__SANITIZE_ADDRESS__)
    const __lsan::ScopedDisabler
        deliberate;  // another thread of the parent may use the file's name
#endif
    Make();
    Output("of the parent");
    channel_->BeforeFork();
    channel_->AfterForkInChild();
    RenderedTimes times;
    Output("of the child");
    EXPECT_THAT(times.Take(), ElementsAre(kOfFiles, kOfRecords));
}

// Files may be slow: while one is written, other threads go on queueing and keeping records.
TEST_F(Channel, LetsOthersQueueRecordsWhileItIsFlushed) {
    const std::function<void()> flushes[] = {[this] { channel_->Flush(); },
                                             [this] { channel_->OutputAll(); }};
    for (const auto& flush : flushes) {
        Make();
        Queue("one");
        Keep("kept");
        std::vector<std::future<void>> others;
        Calls().ScriptWrites([&](uint64_t, std::string_view) {
            others.push_back(std::async(std::launch::async, [this] {
                Queue("meanwhile");
                Keep("meanwhile");
            }));
            EXPECT_EQ(others.back().wait_for(std::chrono::seconds(20)), std::future_status::ready);
            return Fate();
        });
        flush();
        Calls().ScriptWrites(nullptr);
        EXPECT_GE(others.size(), 2u);
        EXPECT_EQ(Queued(), others.size());
    }
}

// Exceptions, as the platform's, leave no lock behind: the channel goes on afterwards.
TEST_F(Channel, GoesOnAfterAnException) {
    const std::function<void()> operations[] = {
        [this] { Output("refused"); }, [this] { Output("refused", 0); },
        [this] { Queue("refused"); },  [this] { Queue("refused", 0); },
        [this] { channel_->Flush(); }, [this] { channel_->OutputAll(); }};
    for (const auto& operation : operations) {
        Make(2);
        Queue("queued, refused");
        Keep("kept");
        RefuseRecords();
        EXPECT_THROW(operation(), std::runtime_error);
        RefuseTimesAfter(-1);
        Output("written");
        Output("written", 0);
        Queue("written", 0);
        Keep("kept");
        channel_->Flush();
        channel_->OutputAll();
        const auto pieces = ParseLogPieces(channel_->CurrentPath());
        EXPECT_EQ(OfKind(pieces, ParsedPiece::DUMP).size(), 3u);
    }
}

TEST_F(Channel, LeavesTheHistoryForTheNextErrorWhenADumpThrows) {
    for (const bool queued : {false, true}) {
        const auto error = [&](const std::string& detail) {
            queued ? Queue(detail, 0) : Output(detail, 0);
        };
        Make();
        Keep("kept");
        RefuseRecords();
        EXPECT_THROW(error("refused"), std::runtime_error);
        RefuseTimesAfter(-1);
        error("the next one");
        EXPECT_NE(Written().find("kept"), std::string::npos);
    }
}

TEST_F(Channel, GoesOnAfterAnExceptionWhileItsFileIsOpened) {
    Calls().ScriptOpens([](uint64_t) -> int { throw std::bad_alloc(); });
    EXPECT_THROW(Output("lost"), std::bad_alloc);
    Calls().ScriptOpens(nullptr);
    Output("written");
    EXPECT_EQ(Written(), Created() + Frame(2, "written"));  // the lost one has used up its number
}

// Behind a pause the record's first attempt has no memory to open a file. The second one opens it,
// in a call that is a cancellation point.
TEST_F(Channel, CompletesTheSecondAttemptOfAThreadThatIsCancelled) {
    Calls().StopMonotonicClock();
    channel_->SetFilePolicy(FilePolicy::kKeepRecords);
    Output("one");
    Calls().ScriptWrites([](uint64_t, std::string_view) { return Fate{0, EIO}; });
    Output("lost");
    Calls().ScriptWrites(nullptr);
    Calls().LetPass(1000000);
    Calls().ScriptOpens([](uint64_t number) -> int {
        if (number == 1) {
            throw std::bad_alloc();
        }
        ::pthread_cancel(::pthread_self());
        ::pthread_testcancel();
        return 0;
    });
    bool returned = false;
    std::thread([&] {
        Output("two");
        returned = true;
    }).join();
    EXPECT_EQ(Calls().Opens(), 2u);
    Calls().ScriptOpens(nullptr);
    EXPECT_TRUE(returned);
    EXPECT_NE(Written().find(Frame(3, "two")), std::string::npos);
}

// Writing has failed in a way that is not understood: a closing line would say that all is well.
TEST_F(Channel, LeavesItsFileOpenWhenItsLastFlushThrows) {
#if defined(__SANITIZE_ADDRESS__)
    const __lsan::ScopedDisabler deliberate;  // what is left open is never freed
#endif
    Make();
    Queue("refused");
    RefuseRecords();
    EXPECT_NO_THROW(channel_.reset());
    EXPECT_EQ(Written(), Created());
}

TEST_F(Channel, EndsWithoutItsClosingLineWhenThatThrows) {
    Output("one");
    RefuseTimesAfter(0);
    EXPECT_NO_THROW(channel_.reset());
    EXPECT_EQ(Written(), Created() + Frame(1, "one"));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
