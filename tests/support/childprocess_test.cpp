// Programs that tests run.
#include "support/childprocess.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <system_error>

#include "support/onthreads.h"

namespace {

using NS_TEST::ChildProcess;
using NS_TEST::ChildStart;
using NS_TEST::RunProgram;

TEST(ChildProcess, TellsHowItEndedAndWhatItSaid) {
    ChildStart start{{"sh", "-c", "echo \"$QV_TEST_WORD\"; cat; echo failed >&2; exit 3"}};
    start.variables["QV_TEST_WORD"] = "word";
    const auto result = RunProgram(start);
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.output, "word\n");
    EXPECT_EQ(result.errors, "failed\n");
}

TEST(ChildProcess, IsToldApartFromOneThatASignalEnded) {
    ChildProcess process({{"sleep", "3600"}});
    process.Signal(SIGTERM);
    EXPECT_EQ(process.Wait().exitCode, -SIGTERM);
}

TEST(ChildProcess, IsListenedToUntilItsEnd) {
    ChildProcess process({{"sh", "-c", "echo one; echo two >&2; echo one"}});
    EXPECT_TRUE(process.WaitForOutput("one", 2));
    EXPECT_TRUE(process.WaitForError("two"));
    EXPECT_FALSE(process.WaitForOutput("one", 3));
}

TEST(ChildProcess, CannotBeAProgramThatIsNotThere) {
    EXPECT_THROW(RunProgram({{"/nowhere/program"}}), std::system_error);
}

// A child that waited for a lock which another thread held at its start would wait for ever.
TEST(ChildProcess, StartsWhileOtherThreadsAllocate) {
    std::atomic<bool> done{false};
    std::atomic<int> failed{0};
    NS_TEST::OnThreads(4, [&](int number) {
        if (number > 0) {
            while (!done) {
                const std::string text(1000, 'x');
                failed += text.empty() ? 1 : 0;
            }
            return;
        }
        for (int round = 0; round < 50; ++round) {
            failed += RunProgram({{"true"}}).exitCode == 0 ? 0 : 1;
        }
        done = true;
    });
    EXPECT_EQ(failed, 0);
}

}  // namespace
