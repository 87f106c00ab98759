#include "stream/recentfiles.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using NS_LOG_FLEET::FileIdentity;
using NS_LOG_FLEET::RecentFiles;

TEST(RecentFiles, TellAFileByItsHostNameAndFirstLine) {
    RecentFiles files;
    files.Add({"host", "name", "first"}, {1, 2});
    files.Add({"host", "name", "other"}, {3, 4});
    EXPECT_EQ(files.Find({"host", "name", "first"})->id, 1);
    EXPECT_EQ(files.Find({"host", "name", "other"})->day, 4);
    EXPECT_FALSE(files.Find({"other", "name", "first"}));
    files.Clear();
    EXPECT_FALSE(files.Find({"host", "name", "first"}));
}

TEST(RecentFiles, AreForgottenWhenThereAreMany) {
    RecentFiles files;
    const auto fileOf = [](size_t i) { return FileIdentity{"host", std::to_string(i), ""}; };
    for (size_t i = 0; i <= RecentFiles::kMost; ++i) {
        files.Add(fileOf(i), {static_cast<int64_t>(i), 0});
        EXPECT_EQ(files.Find(fileOf(i))->id, static_cast<int64_t>(i));
    }
    EXPECT_FALSE(files.Find(fileOf(0)));
}

}  // namespace
