// Where the agent's log files go.
#include <gtest/gtest.h>

#include <filesystem>

#include "bundlemgr/logsupport.h"
#include "host/configfixture.h"

using NS_BUNDLEMGR1::GetNBILogPath;
using NS_BUNDLEMGR1::GetParentPath;

namespace {

using LogPath = NS_TEST::ConfigTest;

TEST_F(LogPath, IsBelowTheShareDirectoryAndNeedNotExist) {
    EXPECT_EQ(GetNBILogPath(), Path("log"));
    AllItems();
    EXPECT_EQ(GetNBILogPath(), Path("log"));
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
    share_.Set(Path() + "//");
    AllItems();
    EXPECT_EQ(GetNBILogPath(), Path("log")) << "normalised";
}

TEST_F(LogPath, FollowsTheConfiguration) {
    ItemsOf("logpath = /var/log/agent/\n");
    EXPECT_EQ(GetNBILogPath(), "/var/log/agent");
    ItemsOf("logpath =\n");
    EXPECT_EQ(GetNBILogPath(), Path("log")) << "an empty item";
}

TEST_F(LogPath, IsKnownEvenWhenTheConfigurationIsOutOfReach) {
    std::filesystem::create_directories(file_);
    EXPECT_EQ(GetNBILogPath(), Path("log"));
}

TEST(ParentPath, IsTheDirectoryThatHoldsThePath) {
    const std::pair<const char*, const char*> cases[] = {
        {"/a/b", "/a"},    {"/a/b/c.log", "/a/b"}, {"a/b", "a"},   {"/a/b/", "/a"},
        {"/a//b//", "/a"}, {"name", "."},          {"name/", "."}, {"", "."},
        {"/a", "/"},       {"//a", "/"},           {"/", "/"},     {"//", "/"}};
    for (const auto& [path, parent] : cases) {
        EXPECT_EQ(GetParentPath(path), parent) << path;
    }
}

}  // namespace
