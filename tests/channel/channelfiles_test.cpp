// The files of a channel: where they go, and moving them.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "channel/channel.h"
#include "channel/channelfixture.h"
#include "support/onthreads.h"

using NS_TEST::Frame;
using NS_TEST::kCreated;
using NS_TEST::ListFiles;
using NS_TEST::ProcessStatus;
using NS_TEST::ReadFile;
using NS_TEST::WithDetail;

namespace NS_LOG_SERVICE1 {
namespace {

class ChannelFiles : public NS_TEST::ChannelTest {};

TEST_F(ChannelFiles, GoToTheAgentsLogDirectoryUnderTheCategorysName) {
    TEDebugInfoBuf channel("corba_internal_oper", 10, 10, 100000, 5);
    EXPECT_EQ(ListFiles(Path()), std::vector<std::string>());
    EXPECT_EQ(channel.CurrentPath(), "");
    channel.Output(WithDetail(1, "one").Get());
    EXPECT_EQ(channel.CurrentPath(), Path("log/" + NameNow("unbi_corba_internal_oper_")));
    EXPECT_EQ(ReadFile(channel.CurrentPath()), kCreated + Frame(1, 1, "one"));
}

TEST_F(ChannelFiles, GoWhereTheDirectoryWasWhenTheChannelWasMade) {
    TEDebugInfoBuf channel("debug", 10, 10, 100000, 5);
    const NS_TEST::ScopedVariable elsewhere("_APP_SHARE_DIR", Path("elsewhere"));
    channel.Output(WithDetail(1, "one").Get());
    EXPECT_EQ(channel.CurrentPath(), Path("log/" + NameNow()));
}

TEST_F(ChannelFiles, AreNumberedByThemselves) {
    TEDebugInfoBuf debug("debug", 10, 10, 100000, 5);
    TEDebugInfoBuf oper("corbaoper", 10, 10, 100000, 5);
    debug.Output(WithDetail(1, "one").Get());
    debug.Output(WithDetail(1, "two").Get());
    oper.Output(WithDetail(1, "three").Get());
    EXPECT_EQ(ReadFile(debug.CurrentPath()), kCreated + Frame(1, 1, "one") + Frame(2, 1, "two"));
    EXPECT_EQ(ReadFile(oper.CurrentPath()), kCreated + Frame(1, 1, "three"));
}

TEST_F(ChannelFiles, RotateAtTheGivenSize) {
    LetFilesDiffer();
    TEDebugInfoBuf channel("debug", 10, 10, 49 + 1, 5);
    channel.Output(WithDetail(1, "one").Get());
    channel.Output(WithDetail(1, "two").Get());
    EXPECT_EQ(ListFiles(Path("log")).size(), 3u);
}

TEST_F(ChannelFiles, CanBeMoved) {
    TEDebugInfoBuf channel("debug", 10, 10, 100000, 5);
    channel.Output(WithDetail(1, "one").Get());
    EXPECT_EQ(channel.ChangePath(Path("new"), "unbi_moved_"), 0);
    EXPECT_EQ(channel.CurrentPath(), Path("new/" + NameNow("unbi_moved_")));
    channel.Output(WithDetail(1, "two").Get());
    EXPECT_EQ(ListFiles(Path("log")), std::vector<std::string>());
    EXPECT_EQ(ReadFile(channel.CurrentPath()),
              kCreated + (kCreated + Frame(1, 1, "one")) + NS_TEST::kClosed + Frame(2, 1, "two"));
}

TEST_F(ChannelFiles, LeaveTheCreationMaskAloneWhenManyAreOpenedAtOnce) {
    umask(0123);
    LetFilesDiffer();
    NS_TEST::OnThreads(8, [this](int number) {
        const std::string category = "c" + std::to_string(number);
        for (int round = 0; round < 10; ++round) {
            TEDebugInfoBuf channel(category.c_str(), 10, 10, 1, 5);
            channel.ChangePath(Path(category + "/" + std::to_string(round) + "/log"),
                               "unbi_" + category + "_");
            channel.Output(WithDetail(1, "one").Get());
        }
    });
    EXPECT_EQ(ProcessStatus("Umask"), "0123");
    umask(022);
    size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(Path())) {
        struct stat status;
        ASSERT_EQ(stat(entry.path().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, entry.is_directory() ? 0750u : 0640u) << entry.path();
        files += entry.is_regular_file() ? 1u : 0u;
    }
    EXPECT_EQ(files, 8u * 10u * 2u);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
