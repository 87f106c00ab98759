// How many records were written into which file.
#include "channel/writtenfiles.h"

#include <gtest/gtest.h>

namespace NS_LOG_SERVICE1 {
namespace {

TEST(WrittenFile, IsRememberedUntilItIsTaken) {
    WrittenFiles files;
    files.Add({1, 5}, {10, 20});
    files.Add({2, 5}, {30, 40});
    EXPECT_EQ(files.Take({1, 6}).written, 0u);
    const RecordCounts records = files.Take({1, 5});
    EXPECT_EQ(records.written, 10u);
    EXPECT_EQ(records.dumped, 20u);
    EXPECT_EQ(files.Take({1, 5}).written, 0u);
    EXPECT_EQ(files.Take({2, 5}).dumped, 40u);
}

// The system gives the number of a removed file to another one.
TEST(WrittenFile, IsForgottenForALaterOneWithItsIdentity) {
    WrittenFiles files;
    files.Add({1, 5}, {10, 0});
    files.Add({1, 5}, {20, 0});
    EXPECT_EQ(files.Take({1, 5}).written, 20u);
    EXPECT_EQ(files.Take({1, 5}).written, 0u);
}

// An hour that local time repeats has 3600 names.
TEST(WrittenFile, IsRememberedForTheFilesOfMoreThanAnHour) {
    WrittenFiles files;
    for (ino_t inode = 1; inode <= 10000; ++inode) {
        files.Add({1, inode}, {inode, 0});
    }
    EXPECT_EQ(files.Take({1, 10000 - 3600}).written, 10000u - 3600);
    EXPECT_EQ(files.Take({1, 1}).written, 0u);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
