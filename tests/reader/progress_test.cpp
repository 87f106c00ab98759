#include "query/progress.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>

#include <string>

#include "input/filedescriptor.h"

namespace {

using namespace NS_LOG_READER;

int64_t progressTime = 0;

// A terminal, what was written to it, and a file that is none.
class ProgressTest : public testing::Test {
  protected:
    ProgressTest() : file_(::open("/dev/null", O_WRONLY | O_CLOEXEC)) {
        int screen = -1;
        int terminal = -1;
        EXPECT_EQ(::openpty(&screen, &terminal, nullptr, nullptr, nullptr), 0);
        screen_ = FileDescriptor(screen);
        terminal_ = FileDescriptor(terminal);
        ::fcntl(screen_.Get(), F_SETFL, O_NONBLOCK);
        progressTime = 5000;
    }

    static int64_t Clock() { return progressTime; }

    std::string Seen() const {
        char bytes[1024];
        const ssize_t size = ::read(screen_.Get(), bytes, sizeof bytes);
        return std::string(bytes, size > 0 ? static_cast<size_t>(size) : 0);
    }

    FileDescriptor screen_;
    FileDescriptor terminal_;
    FileDescriptor file_;
};

TEST_F(ProgressTest, IsToldOnATerminalOnceASecondIsOver) {
    {
        Progress progress(terminal_.Get(), file_.Get(), &Clock);
        progressTime += 999;
        progress.Add(8000000);
        EXPECT_EQ(Seen(), "");
        progressTime += 1;
        progress.Add(8000000);
        EXPECT_EQ(Seen(), "\rqvlog: 16 MB read, 16 MB/s\x1b[K");
        progressTime += 100;
        progress.Add(8000000);
        EXPECT_EQ(Seen(), "");
        progressTime += 900;
        progress.Add(8000000);
        EXPECT_EQ(Seen(), "\rqvlog: 32 MB read, 16 MB/s\x1b[K");
    }
    EXPECT_EQ(Seen(), "\r\x1b[K");
}

TEST_F(ProgressTest, IsNotToldElsewhere) {
    {
        Progress ofResults(terminal_.Get(), terminal_.Get(), &Clock);
        Progress intoAFile(file_.Get(), file_.Get(), &Clock);
        progressTime += 5000;
        ofResults.Add(1);
        intoAFile.Add(1);
    }
    EXPECT_EQ(Seen(), "");
}

TEST_F(ProgressTest, OfAQuickReadLeavesNothing) {
    { Progress(terminal_.Get(), file_.Get(), &Clock).Add(1); }
    EXPECT_EQ(Seen(), "");
}

}  // namespace
