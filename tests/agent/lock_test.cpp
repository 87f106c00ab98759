// One agent for a share directory.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>

#include "agent/agenterror.h"
#include "agent/agentfixture.h"
#include "agent/directorylock.h"
#include "support/forkedchild.h"
#include "support/pipe.h"

namespace {

using NS_REFERENCE_HOST::AgentError;
using NS_REFERENCE_HOST::DirectoryLock;
using NS_TEST::ChildProcess;
using NS_TEST::ChildResult;
using std::filesystem::perms;
using namespace testing;

class AgentLock : public NS_TEST::AgentTest {
  protected:
    // Expects that a second agent is refused, and leaves nothing behind.
    void ExpectRefusal(const ChildProcess& first) const {
        const ChildResult second = Run({"--traffic", "none"});
        EXPECT_EQ(second.exitCode, 7);
        EXPECT_THAT(second.errors, HasSubstr("another agent serves this directory, process " +
                                             std::to_string(first.GetId())));
        EXPECT_FALSE(std::filesystem::exists(Path("log")));
    }

    const std::string lock_ = Path("qv_agent.lock");
};

TEST_F(AgentLock, KeepsASecondAgentOutBeforeItMakesALogFile) {
    ChildProcess first(Agent({"--traffic", "none"}));
    ASSERT_TRUE(first.WaitForError("serving"));
    ExpectRefusal(first);
    EXPECT_EQ(EndOnce(first, "serving"), 0);
    EXPECT_EQ(Run({"--sample"}).exitCode, 0) << "it was released";
}

TEST_F(AgentLock, IsHeldWhileTheAgentWaitsForItsInput) {
    const NS_TEST::Pipe pipe;
    ChildProcess first(Agent({}, pipe.Reader()));
    const std::string number = std::to_string(first.GetId()) + "\n";
    AwaitThat([&] { return std::filesystem::exists(lock_) && NS_TEST::ReadFile(lock_) == number; });
    ExpectRefusal(first);
}

TEST_F(AgentLock, IsReleasedWhenTheAgentIsKilled) {
    ChildProcess first(Agent({"--traffic", "none"}));
    EXPECT_EQ(EndOnce(first, "serving", SIGKILL), -SIGKILL);
    EXPECT_EQ(Run({"--sample"}).exitCode, 0);
}

// Everybody who may read the directory may lock it.
TEST_F(AgentLock, IsNobodyElsesToTake) {
    const int directory = open(Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(directory, LOCK_EX), 0);
    const mode_t before = umask(0);
    EXPECT_EQ(Run({"--sample"}).exitCode, 0);
    umask(before);
    close(directory);
    struct stat found {};
    ASSERT_EQ(stat(lock_.c_str(), &found), 0);
    EXPECT_EQ(found.st_mode, S_IFREG | 0600);
}

TEST_F(AgentLock, IsTakenOnNothingButAFileOfThatName) {
    std::filesystem::create_symlink(Path("elsewhere"), lock_);
    const ChildResult linked = Run({"--sample"});
    EXPECT_EQ(linked.exitCode, 7);
    EXPECT_THAT(linked.errors, HasSubstr("the lock file " + lock_ + " cannot be used: "));
    EXPECT_FALSE(std::filesystem::exists(Path("elsewhere")));
    std::filesystem::remove(lock_);
    std::filesystem::create_directory(lock_);
    EXPECT_EQ(Run({"--sample"}).exitCode, 7);
}

// A child has the same open file.
TEST_F(AgentLock, IsReleasedWhileAForkedChildGoesOn) {
    constexpr int kOwn = 7;
    NS_TEST::Pipe pipe;
    auto lock = std::make_optional<DirectoryLock>(Path());
    const pid_t child = NS_TEST::ForkChild();
    if (child == 0) {
        pipe.CloseWriter();
        std::string nothing;
        pipe.ReadTo(nothing);  // until the parent has closed its end
        NS_TEST::EndChild(kOwn);
    }
    EXPECT_THROW(DirectoryLock{Path()}, AgentError);
    lock.reset();
    EXPECT_NO_THROW(DirectoryLock{Path()});
    pipe.CloseWriter();
    EXPECT_EQ(NS_TEST::AwaitChild(child), kOwn);
}

TEST_F(AgentLock, IsNotAForkedChildsToRelease) {
    constexpr int kOwn = 7;
    auto lock = std::make_optional<DirectoryLock>(Path());
    const pid_t child = NS_TEST::ForkChild();
    if (child == 0) {
        lock.reset();
        NS_TEST::EndChild(kOwn);
    }
    EXPECT_EQ(NS_TEST::AwaitChild(child), kOwn);
    EXPECT_THROW(DirectoryLock{Path()}, AgentError);
}

TEST_F(AgentLock, ThatLacksADescriptorIsNotCalledAnotherAgents) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    int code = -1;
    std::string reason;
    try {
        const DirectoryLock lock(Path());
    } catch (const AgentError& error) {
        code = static_cast<int>(error.Code());
        reason = error.what();
    }
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(code, 1);
    EXPECT_EQ(reason, "the lock file " + lock_ + " cannot be used: Too many open files");
}

TEST_F(AgentLock, IsDoneWithoutInADirectoryThatIsReadOnly) {
    Configure("bundles = qv_base_log\nlogpath = " + Path("writable/log") + "\n");
    std::filesystem::create_directory(Path("writable"));
    std::filesystem::permissions(Path(), perms::owner_read | perms::owner_exec);
    const ChildResult result = NS_TEST::RunProgram(PlainAgent({"--sample"}));
    std::filesystem::permissions(Path(), perms::owner_all);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.errors,
                HasSubstr("no lock file " + lock_ +
                          ": Permission denied; a second agent would not be noticed"));
}

}  // namespace
