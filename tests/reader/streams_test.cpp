#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

#include "query/contextstream.h"
#include "query/mergedstream.h"
#include "query/reversestream.h"
#include "query/seriesstream.h"
#include "reader/logtext.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

namespace {

using namespace NS_LOG_READER;
using namespace NS_TEST;
using testing::ElementsAre;
using testing::HasSubstr;

// Where files cannot be read any further.
off_t readableEnd = std::numeric_limits<off_t>::max();

class Problems final : public ProblemListener {
  public:
    void Report(const std::string&, int64_t offset, const std::string& text) override {
        texts.push_back(std::to_string(offset) + " " + text);
    }
    void ReportUnread(const std::string& reason, uint64_t offset) override {
        texts.push_back(std::to_string(offset) + " unread: " + reason);
    }
    std::vector<std::string> texts;
};

class Streams : public DirectoryTest {
  protected:
    ~Streams() override { readableEnd = std::numeric_limits<off_t>::max(); }

    static LogFields Fields(int second, const std::string& detail, int level = 2) {
        LogFields fields;
        fields.second = second;
        fields.detail = detail;
        fields.level = level;
        return fields;
    }

    void Write(const std::string& category, int second, const std::string& text) {
        WriteFile(Path(LogName(category, second)), CreatedText(second) + text + ClosedText());
    }

    // The details of what a stream over all series gives; "~" before context.
    std::vector<std::string> Read(const Selection& selection, bool newestFirst = false,
                                  StreamOptions options = {}) {
        std::vector<std::string> ignored;
        const std::vector<Series> series = FindSeries({Path()}, ignored);
        const Matcher matcher(selection);
        std::vector<std::unique_ptr<RecordStream>> streams;
        for (size_t i = 0; i < series.size(); ++i) {
            std::unique_ptr<RecordStream> stream;
            if (newestFirst) {
                stream = std::make_unique<ReverseStream>(series[i], i, matcher, options, problems_);
            } else {
                stream = std::make_unique<SeriesStream>(series[i], i, matcher, options, problems_);
            }
            if (options.withContext) {
                stream = std::make_unique<ContextStream>(std::move(stream), options.before,
                                                         options.after);
            }
            streams.push_back(std::move(stream));
        }
        MergedStream merged(std::move(streams), newestFirst);
        std::vector<std::string> details;
        Found found;
        while (merged.Next(found)) {
            details.push_back((found.isHit ? "" : "~") + std::string(found.record.detail));
        }
        return details;
    }

    Problems problems_;
};

TEST_F(Streams, GiveTheRecordsOfAllFilesByTimeInBothDirections) {
    Write("a", 1, LogFrame(1, Fields(1, "a1")) + LogFrame(2, Fields(5, "a5")));
    Write("a", 6, LogFrame(3, Fields(6, "a6")));
    Write("b", 2, LogFrame(1, Fields(2, "b2")) + ShortText(5, "b5") + LogFrame(3, Fields(9, "b9")));
    std::vector<std::string> all = {"a1", "b2", "a5", "b5", "a6", "b9"};
    EXPECT_EQ(Read({}), all);
    std::reverse(all.begin(), all.end());
    EXPECT_EQ(Read({}, true), all);
    EXPECT_TRUE(problems_.texts.empty());
}

TEST_F(Streams, KeepTheOrderOfAFileWhereTimesAreNotInOrder) {
    Write("a", 1, LogFrame(1, Fields(5, "a5")) + LogFrame(2, Fields(3, "a3")));
    Write("b", 1, LogFrame(1, Fields(4, "b4")));
    EXPECT_THAT(Read({}), ElementsAre("b4", "a5", "a3"));
}

TEST_F(Streams, LeaveKeptBackRecordsWhereTheirDumpStands) {
    Write("a", 1,
          LogFrame(1, Fields(1, "a1")) +
              LogDump(2, Fields(8, "a8", 0),
                      DumpedText(Fields(2, "in2")) + DumpedText(Fields(7, "in7"))));
    Write("b", 1, LogFrame(1, Fields(3, "b3")) + LogFrame(2, Fields(9, "b9")));
    EXPECT_THAT(Read({}), ElementsAre("a1", "b3", "a8", "in2", "in7", "b9"));
    Selection inner;
    inner.pattern = "in\\d";
    EXPECT_THAT(Read(inner), ElementsAre("in2", "in7"));
    EXPECT_THAT(Read(inner, true), ElementsAre("in7", "in2"));
}

TEST_F(Streams, ReadLargeFilesBackwards) {
    std::string text;
    std::vector<std::string> expected;
    for (uint32_t i = 1; i <= 3000; ++i) {
        const std::string detail = std::to_string(i) + std::string(i % 1500, '\n') + "<x>";
        text += LogFrame(i, Fields(static_cast<int>(i), detail));
        expected.push_back(detail);
    }
    text += LogFrame(3001, Fields(3001, std::string(3 << 20, 'x')));
    expected.emplace_back(3 << 20, 'x');
    Write("a", 1, text);
    std::reverse(expected.begin(), expected.end());
    EXPECT_EQ(Read({}, true), expected);
}

TEST_F(Streams, ShowTheContextOfHitsOnce) {
    std::string text;
    for (uint32_t i = 1; i <= 12; ++i) {
        text +=
            LogFrame(i, Fields(static_cast<int>(i),
                               (i == 4 || i == 6 || i == 11 ? "hit" : "no") + std::to_string(i)));
    }
    Write("a", 1, text);
    Selection selection;
    selection.pattern = "hit";
    StreamOptions options;
    options.withContext = true;
    options.before = 1;
    options.after = 1;
    EXPECT_THAT(Read(selection, false, options),
                ElementsAre("~no3", "hit4", "~no5", "hit6", "~no7", "~no10", "hit11", "~no12"));
    options.before = 2;
    options.after = 0;
    EXPECT_THAT(Read(selection, false, options),
                ElementsAre("~no2", "~no3", "hit4", "~no5", "hit6", "~no9", "~no10", "hit11"));
}

TEST_F(Streams, FindRangesOfTimeInLargeFiles) {
    std::string text;
    std::vector<std::string> expected;
    for (uint32_t i = 1; i <= 3400; ++i) {
        const std::string detail = std::to_string(i) + std::string(300, ' ');
        text += LogFrame(i, Fields(static_cast<int>(i), detail));
        if (i >= 2000 && i < 2010) {
            expected.push_back(detail);
        }
    }
    Write("a", 1, text);
    Selection selection;
    ParseStamp(LogStamp(2000), selection.since.emplace());
    ParseStamp(LogStamp(2010), selection.until.emplace());
    EXPECT_EQ(Read(selection), expected);
    std::reverse(expected.begin(), expected.end());
    EXPECT_EQ(Read(selection, true), expected);
    selection.trustsOrder = false;
    EXPECT_EQ(Read(selection, true), expected);
}

TEST_F(Streams, ReportTornRecordsAndGoOn) {
    const std::string frame = LogFrame(1, Fields(1, "a1"));
    const std::string text =
        frame.substr(0, frame.size() - 7) + LogFrame(2, Fields(2, "a2")) + "x\n";
    WriteFile(Path(LogName("a", 1)), text);
    EXPECT_THAT(Read({}), ElementsAre("a1", "a2"));
    const std::string end = std::to_string(text.size() - 2);
    EXPECT_THAT(problems_.texts,
                ElementsAre("0 record 1 is torn, " + std::to_string(frame.size() - 7) + " bytes",
                            end + " 2 bytes that belong to no record"));
}

TEST_F(Streams, TellInBothDirectionsThatAFileCannotBeReadToItsEnd) {
    std::string text;
    for (uint32_t i = 1; i <= 3000; ++i) {
        text += LogFrame(i, Fields(static_cast<int>(i), std::to_string(i) + std::string(900, ' ')));
    }
    Write("a", 1, text);
    readableEnd = 2500000;
    std::vector<std::string> details = Read({});
    EXPECT_GT(details.size(), 2000U);
    const std::vector<std::string> problems = problems_.texts;
    EXPECT_THAT(problems,
                ElementsAre(HasSubstr("is torn"),
                            "2500000 unread: " + Path(LogName("a", 1)) + ": Input/output error"));
    problems_.texts.clear();
    std::reverse(details.begin(), details.end());
    EXPECT_EQ(Read({}, true), details);
    EXPECT_EQ(problems_.texts, problems);
}

}  // namespace

extern "C" ssize_t pread(int descriptor, void* bytes, size_t size, off_t offset) {
    if (offset >= readableEnd) {
        errno = EIO;
        return -1;
    }
    const auto readable = static_cast<size_t>(readableEnd - offset);
    return syscall(SYS_pread64, descriptor, bytes, std::min(size, readable), offset);
}
