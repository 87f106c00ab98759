// The channel's files beside those of a writer that does nothing cleverly: one printf for each
// record, one text for each file, no lock, no memory that is used again.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "bundlemgr/logsupport.h"
#include "channel/channelfixture.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

__attribute__((format(printf, 1, 2))) std::string Printed(const char* format, ...) {
    char* text = nullptr;
    va_list arguments;
    va_start(arguments, format);
    const int length = vasprintf(&text, format, arguments);
    va_end(arguments);
    EXPECT_GE(length, 0);
    const std::unique_ptr<char, decltype(&std::free)> owned(text, &std::free);
    return std::string(text, static_cast<size_t>(length));
}

std::string StampOf(const OwnedRecord& record) {
    std::string stamp;
    NS_BUNDLEMGR1::GetZoneTimeStamp(record.time, stamp);
    return stamp;
}

struct Limits {
    uint32_t queue;
    uint32_t kept;
    uint32_t file;
};

class ObviousWriter {
  public:
    ObviousWriter(const Limits& limits, OwnedRecord notice, OwnedRecord orderedDump)
        : limits_(limits), notice_(std::move(notice)), orderedDump_(std::move(orderedDump)) {}

    void Output(const OwnedRecord& record) {
        if (record.level == 0) {
            WriteDump(record);
        } else {
            Write(record);
        }
    }
    void Queue(const OwnedRecord& record) {
        if (record.level == 0) {
            Flush();
            WriteDump(record);
            return;
        }
        queue_.push_back(record);
        if (queue_.size() >= limits_.queue) {
            Flush();
            Write(notice_);
        }
    }
    void Keep(const OwnedRecord& record) {
        kept_.push_back(record);
        if (kept_.size() > limits_.kept) {
            kept_.pop_front();
        }
    }
    void Flush() {
        OpenIfClosed();
        for (const OwnedRecord& record : queue_) {
            Write(record);
        }
        queue_.clear();
    }
    void OutputAll() {
        Flush();
        WriteDump(orderedDump_);
    }

    // The files, one behind the other. Ends the last one.
    std::string End() {
        Flush();
        Close();
        return files_;
    }

  private:
    void OpenIfClosed() {
        if (size_ == 0) {
            Put("File create at TIMETIMETIMETIMETIMETIMETIMETIME.\n");
        }
    }
    void Close() {
        Put("\nFile close at TIMETIMETIMETIMETIMETIMETIMETIME.\n");
        size_ = 0;
    }
    void Put(const std::string& text) {
        files_ += text;
        size_ += text.size();
    }
    void PutAndRotate(const std::string& text) {
        OpenIfClosed();
        Put(text);
        if (size_ >= limits_.file) {
            Close();
            OpenIfClosed();
        }
    }

    void Write(const OwnedRecord& record) {
        const unsigned number = ++number_;
        if (record.level == -2) {
            PutAndRotate(Printed("%s,%s\n", StampOf(record).c_str(), record.detail.c_str()));
            return;
        }
        PutAndRotate(
            Printed("<%u>\n%s</%u>\n\n", number, Fields(record, "Detail").c_str(), number));
    }
    void WriteDump(const OwnedRecord& trigger) {
        const unsigned number = ++number_;
        std::string history;
        for (const OwnedRecord& record : kept_) {
            history += Fields(record, "Detail ");
        }
        kept_.clear();
        PutAndRotate(
            Printed("<%u>\n%s"
                    "*********** Dump filtered debug information begin **********\n%s"
                    "*********** Dump filtered debug information end **********\n</%u>\n\n",
                    number, Fields(trigger, "Detail").c_str(), history.c_str(), number));
    }
    static std::string Fields(const OwnedRecord& record, const char* label) {
        return Printed("%s, %s, T:%ld, DL:%d, File: %s Func:%s Line:%u\n %s: %s\n",
                       StampOf(record).c_str(), record.context.c_str(),
                       static_cast<long>(record.thread), record.level, record.file.c_str(),
                       record.function.c_str(), record.line, label, record.detail.c_str());
    }

    const Limits limits_;
    const OwnedRecord notice_;
    const OwnedRecord orderedDump_;
    std::deque<OwnedRecord> queue_;
    std::deque<OwnedRecord> kept_;
    unsigned number_ = 0;
    std::string files_;
    size_t size_ = 0;  // of the current file; 0: none is open
};

class BesideObviousWriter : public ChannelTest {
  protected:
    BesideObviousWriter() { LetFilesDiffer(); }

    // A record of the channel itself, as this thread causes it. Its line is the one in the files.
    OwnedRecord Own(int level, const std::string& function, const std::string& detail) const {
        const std::string written = Written();
        const std::string label = " Func:" + function + " Line:";
        OwnedRecord record = WithDetail(detail, level);
        record.time = ACE_Time_Value(SystemCalls::kStart, 654321);
        record.thread = pthread_self();
        record.file = "";
        record.function = function;
        record.line = static_cast<uint32_t>(
            std::stoul(written.substr(written.find(label) + label.size(), 9)));
        record.context = "O,TopT:9,If:flush,UserMsg:me";
        return record;
    }

    // What the service's own clock reads stands for TIME; the other records bring their times.
    std::string WrittenWithoutClock() const {
        static const std::regex clock("2024-03-05T14:..:..\\.654321\\+00:00");
        return std::regex_replace(Written(), clock, "TIMETIMETIMETIMETIMETIMETIMETIME");
    }

    void Compare(std::mt19937& random, const Limits& limits) {
        Make(1, 1);
        Queue("fills the queue");
        channel_->OutputAll();
        const OwnedRecord notice = Own(1, "TEDebugInfoBuf::AppendOutputInfo",
                                       "Debug cache is full, force output execute.");
        const OwnedRecord ordered =
            Own(3, "TEDebugInfoBuf::OutputAll",
                "The follow message was dump by maintenance command flushall.");

        Make(limits.queue, limits.kept, limits.file);
        ObviousWriter writer(limits, notice, ordered);
        for (int i = 0; i < 80; ++i) {
            ApplyToBoth(random, writer);
        }
        channel_.reset();
        const std::string stamp = StampOf(notice);
        std::string expected = writer.End();
        for (size_t at = 0; (at = expected.find(stamp, at)) != std::string::npos;) {
            expected.replace(at, stamp.size(), "TIMETIMETIMETIMETIMETIMETIMETIME");
        }
        ASSERT_EQ(WrittenWithoutClock(), expected);
    }

  private:
    void ApplyToBoth(std::mt19937& random, ObviousWriter& writer) {
        OwnedRecord record = RandomRecord(random, 60);
        record.level = static_cast<int32_t>(random() % 6) - 2;
        switch (random() % 12) {
            case 0:
                channel_->Flush();
                return writer.Flush();
            case 1:
                channel_->OutputAll();
                return writer.OutputAll();
            case 2:
            case 3:
            case 4:
                channel_->AppendFiltered(record.Get());
                return writer.Keep(record);
            case 5:
            case 6:
            case 7:
            case 8:
                channel_->AppendOutputInfo(record.Get());
                return writer.Queue(record);
            default:
                channel_->Output(record.Get());
                return writer.Output(record);
        }
    }
};

TEST_F(BesideObviousWriter, WritesTheSameBytesWhateverIsDoneInWhateverOrder) {
    std::mt19937 random(20240305);
    for (int round = 0; round < 25; ++round) {
        SCOPED_TRACE(round);
        const Limits limits{
            static_cast<uint32_t>(random() % 9), static_cast<uint32_t>(random() % 9),
            random() % 2 == 0 ? 100000000U : static_cast<uint32_t>(random() % 3000)};
        Compare(random, limits);
        ASSERT_FALSE(HasFailure());
    }
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
