// Where the agent's log files go.
#include <gtest/gtest.h>

#include <filesystem>

#include "bundlemgr/logsupport.h"
#include "host/configfixture.h"

using NS_BUNDLEMGR1::GetNBILogPath;
using NS_BUNDLEMGR1::GetParentPath;

namespace {

using LogPath = NS_TEST::ConfigTest;

TEST_F(LogPath, IsBelowTheShareDirectory) {
    EXPECT_EQ(GetNBILogPath(), Path("log"));
}

TEST_F(LogPath, NeedNotExist) {
    AllItems();
    GetNBILogPath();
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
}

TEST_F(LogPath, IsNormalised) {
    share_.Set(Path() + "//");
    AllItems();
    EXPECT_EQ(GetNBILogPath(), Path("log"));
}

TEST_F(LogPath, FollowsTheConfiguration) {
    ItemsOf("logpath = /var/log/agent/\n");
    EXPECT_EQ(GetNBILogPath(), "/var/log/agent");
}

TEST_F(LogPath, DoesNotFollowAnEmptyItem) {
    ItemsOf("logpath =\n");
    EXPECT_EQ(GetNBILogPath(), Path("log"));
}

TEST_F(LogPath, IsKnownEvenWhenTheConfigurationIsOutOfReach) {
    std::filesystem::create_directories(file_);
    EXPECT_EQ(GetNBILogPath(), Path("log"));
}

TEST(ParentPath, IsTheDirectoryThatHoldsThePath) {
    EXPECT_EQ(GetParentPath("/a/b"), "/a");
    EXPECT_EQ(GetParentPath("/a/b/c.log"), "/a/b");
    EXPECT_EQ(GetParentPath("a/b"), "a");
}

TEST(ParentPath, OfANameIsTheCurrentDirectory) {
    EXPECT_EQ(GetParentPath("name"), ".");
    EXPECT_EQ(GetParentPath("name/"), ".");
    EXPECT_EQ(GetParentPath(""), ".");
}

TEST(ParentPath, EndsAtTheRoot) {
    EXPECT_EQ(GetParentPath("/a"), "/");
    EXPECT_EQ(GetParentPath("//a"), "/");
    EXPECT_EQ(GetParentPath("/"), "/");
    EXPECT_EQ(GetParentPath("//"), "/");
}

TEST(ParentPath, DoesNotCountSeparatorsAtTheEnd) {
    EXPECT_EQ(GetParentPath("/a/b/"), "/a");
    EXPECT_EQ(GetParentPath("/a//b//"), "/a");
}

}  // namespace
