// Children that are forks of a test.
#include "support/forkedchild.h"

#include <gtest/gtest.h>

#include <string>

#include "support/pipe.h"

namespace {

using NS_TEST::AwaitChild;
using NS_TEST::EndChild;
using NS_TEST::ForkChild;
using NS_TEST::Pipe;

TEST(ForkedChild, TellsHowItEnded) {
    const auto end = [](void (*die)()) {
        const pid_t child = ForkChild();
        if (child == 0) {
            die();
        }
        return AwaitChild(child);
    };
    EXPECT_EQ(end([] { EndChild(7); }), 7);
    EXPECT_EQ(end([] { ::kill(::getpid(), SIGKILL); }), -SIGKILL);
    EXPECT_THROW(AwaitChild(::getpid()), std::system_error);
}

TEST(ForkedChild, IsEndedWhenItHangs) {
    const pid_t child = ForkChild(1);
    if (child == 0) {
        for (;;) {
            ::pause();
        }
    }
    EXPECT_EQ(AwaitChild(child), -SIGALRM);
}

// The grandchild has the pipe open as long as it lives.
TEST(ForkedChild, EndsWithItsParent) {
    Pipe pipe;
    const pid_t parent = ForkChild();
    if (parent == 0) {
        if (ForkChild(3600) == 0) {
            pipe.Write("alive");
        }
        for (;;) {
            ::pause();
        }
    }
    pipe.CloseWriter();
    std::string text;
    while (text != "alive" && pipe.Reader() >= 0) {
        pipe.ReadTo(text);
    }
    ::kill(parent, SIGKILL);
    EXPECT_EQ(AwaitChild(parent), -SIGKILL);
    while (pipe.Reader() >= 0) {
        pipe.ReadTo(text);
    }
    EXPECT_EQ(text, "alive");
}

}  // namespace
