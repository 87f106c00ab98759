// What the maintenance interface does with the log files: policies, reopening, rotation, the books.
#include <gmock/gmock.h>

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "maintenance/maintenancefixture.h"

namespace fs = std::filesystem;

namespace NS_TEST {
namespace {

using namespace NS_LOG_SERVICE1;
using namespace testing;

class FileMaintenance : public MaintenanceTest {
  protected:
    static ChannelBooks Books(const std::string& category = "corbaoper") {
        std::vector<ChannelBooks> books(3);
        Maintenance().GetChannelBooks(books);
        EXPECT_EQ(books.size(), 7U);
        for (const ChannelBooks& channel : books) {
            if (channel.category == category) {
                return channel;
            }
        }
        ADD_FAILURE() << "no channel " << category;
        return ChannelBooks();
    }
    static uint64_t AccountedFor(const ChannelBooks& books) {
        return books.recordsWritten + books.recordsDumped + books.recordsEvicted +
               books.recordsDropped + books.recordsOverwritten + books.recordsQueued +
               books.recordsCached;
    }
    static void LogDebug(const std::string& text) {
        Manager().GetLogger("a", "b", "debug")->Log("f", "g", 1, 1, text);
    }
    // Files that are full with each record come round within their second.
    static void LogUntilSomethingIsOverwritten() {
        while (Books().recordsOverwritten == 0) {
            Log(1, "overwritten sooner or later");
        }
    }
};

TEST_F(FileMaintenance, ListsTheBooksOfSevenChannelsInTheOrderOfTheirNames) {
    Start();
    std::vector<ChannelBooks> books(9);
    Maintenance().GetChannelBooks(books);
    std::vector<std::string> names;
    for (const ChannelBooks& channel : books) {
        names.push_back(channel.category);
        EXPECT_EQ(channel.currentFile, "");
        EXPECT_TRUE(channel.currentFileInPlace);
        EXPECT_FALSE(channel.failing);
        EXPECT_EQ(channel.recordsReceived, 0U);
    }
    EXPECT_THAT(names, ElementsAre("corba_alarm", "corba_internal_oper", "corbadebug",
                                   "corbanotify", "corbaoper", "corbasys", "debug"));
}

TEST_F(FileMaintenance, KeepsBooksThatClose) {
    store_.Set("filterbuflength", "2");
    store_.Set("queuebuflength", "4");
    Start();
    for (const char* const text : {"evicted", "kept", "kept"}) {
        Log(3, text);
    }
    Log(1, "written");
    Log(0, "with the history");
    Log(3, "kept");
    Manager().outputmode = 1;
    for (int i = 0; i < 5; ++i) {
        Log(1, "queued");
    }
    const ChannelBooks books = Books();
    EXPECT_EQ(books.recordsReceived, 12U) << "eleven, and the notice of the full queue";
    EXPECT_EQ(books.recordsWritten, 7U);
    EXPECT_EQ(books.recordsDumped, 2U);
    EXPECT_EQ(books.recordsEvicted, 1U);
    EXPECT_EQ(books.recordsQueued, 1U);
    EXPECT_EQ(books.recordsQueuedMost, 4U);
    EXPECT_EQ(books.recordsCached, 1U);
    EXPECT_GE(books.bytesQueued, std::string("queuedfile.cppFunction").size());
    EXPECT_EQ(AccountedFor(books), books.recordsReceived);
    EXPECT_EQ(books.bytesWritten, fs::file_size(books.currentFile));
    EXPECT_EQ(books.bytesEmptied, 0U);
}

TEST_F(FileMaintenance, ShowsWhatWasOverwrittenAndReportsItAtTheEnd) {
    store_.Set("logfilesize", "60");
    Start();
    Maintenance().SetFilePolicy(LOG_FILE_POLICY_CONTRACT);
    LogUntilSomethingIsOverwritten();
    while (Channel("corbaoper").recordsDumped == Books().recordsDumped) {
        Log(3, "overwritten in its dump");
        Log(0, "sooner or later");
    }
    Log(3, "evicted or kept, which is no loss");
    const ChannelBooks books = Books();
    EXPECT_GT(books.bytesEmptied, 0U);
    EXPECT_GT(books.rotations, 0U);
    EXPECT_EQ(AccountedFor(books), books.recordsReceived);
    const ChannelStatus once = Channel("corbaoper");
    EXPECT_EQ(once.recordsWritten + once.recordsDumped,
              books.recordsWritten + books.recordsDumped + books.recordsOverwritten)
        << "what was written once";
    Stop();
    EXPECT_THAT(Proxy().Printed(),
                Contains(IsDiagnostic(
                    1, "logimpl",
                    "\n[qv_base_log::fini] corbaoper: " + std::to_string(books.recordsOverwritten) +
                        " records were lost as their file was emptied !!\n")));
    EXPECT_THAT(Proxy().Texts(), Contains(HasSubstr("qv_base_log::fini")).Times(1));
}

TEST_F(FileMaintenance, SetsThePolicyOfAllChannelsNowAndLater) {
    store_.Set("logfilesize", "60");
    Start();
    EXPECT_EQ(Maintenance().GetFilePolicy(), LOG_FILE_POLICY_CONTRACT);
    Maintenance().SetFilePolicy(LOG_FILE_POLICY_KEEP_RECORDS);
    EXPECT_EQ(Maintenance().GetFilePolicy(), LOG_FILE_POLICY_KEEP_RECORDS);
    for (int i = 0; i < 200; ++i) {
        Log(1, "kept");
    }
    EXPECT_THAT(Written("corbaoper"), SizeIs(200));
    EXPECT_EQ(Books().recordsOverwritten, 0U);
    ChannelMap channels;
    channels.SetFilePolicy(FilePolicy::kKeepRecords);
    channels.Create(Manager());
    TEDebugInfoBuf& later = *channels.Find("corbasys");
    LogRecord record;
    record.level = 1;
    for (int i = 0; i < 200; ++i) {
        later.Output(record);
    }
    EXPECT_EQ(later.FileStatistics().bytesEmptied.Get(), 0U);
    Maintenance().SetFilePolicy(LOG_FILE_POLICY_CONTRACT);
    EXPECT_EQ(Maintenance().GetFilePolicy(), LOG_FILE_POLICY_CONTRACT);
    LogUntilSomethingIsOverwritten();
}

TEST_F(FileMaintenance, ReopensAFileThatWasMovedInOneCategoryOrAll) {
    Start();
    Log(1, "one");
    LogDebug("one");
    const std::string oper = Books().currentFile;
    const std::string debug = Books("debug").currentFile;
    EXPECT_TRUE(Books().currentFileInPlace);
    fs::rename(oper, Path("moved"));
    fs::remove(debug);
    EXPECT_FALSE(Books().currentFileInPlace);
    EXPECT_FALSE(Books("debug").currentFileInPlace);
    EXPECT_FALSE(Maintenance().Reopen("corba"));
    EXPECT_FALSE(Books().currentFileInPlace);
    EXPECT_TRUE(Maintenance().Reopen("corbaoper"));
    EXPECT_TRUE(Books().currentFileInPlace);
    EXPECT_FALSE(Books("debug").currentFileInPlace);
    EXPECT_TRUE(Maintenance().Reopen(""));
    EXPECT_TRUE(Books("debug").currentFileInPlace);
    Log(1, "two");
    EXPECT_EQ(Books().currentFile, oper);
    EXPECT_THAT(Written("corbaoper"), ElementsAre("two"));
    EXPECT_THAT(ReadFile(Path("moved")), HasSubstr("\nFile close at "));
    EXPECT_EQ(Books("corbasys").currentFile, "");
    EXPECT_EQ(Books().recordsOverwritten, 0U);
    EXPECT_EQ(AccountedFor(Books()), 2U);
}

TEST_F(FileMaintenance, RotatesOneCategoryOrAllAndEmptiesNothing) {
    Start();
    Log(1, "one");
    EXPECT_FALSE(Maintenance().Rotate("corba"));
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(Maintenance().Rotate("corbaoper"));
        Log(1, "more");
    }
    EXPECT_THAT(Written("corbaoper"), ElementsAre("one", "more", "more", "more", "more", "more"));
    EXPECT_EQ(Books("debug").currentFile, "");
    EXPECT_TRUE(Maintenance().Rotate(""));
    EXPECT_NE(Books("debug").currentFile, "");
    EXPECT_EQ(Books().bytesEmptied, 0U);
}

TEST_F(FileMaintenance, TellsOfAFailureWhileItLasts) {
    Start();
    Log(1, "one");
    fs::rename(Path("log"), Path("elsewhere"));
    WriteFile(Path("log"), "in the way");
    const std::string path = Books().currentFile;
    EXPECT_FALSE(Books().currentFileInPlace);
    Maintenance().Reopen("corbaoper");
    ChannelBooks books = Books();
    EXPECT_TRUE(books.failing);
    EXPECT_EQ(books.failures, 1U);
    EXPECT_EQ(books.lastError, ENOTDIR);
    EXPECT_NEAR(static_cast<double>(books.lastErrorTime), static_cast<double>(std::time(nullptr)),
                600);
    EXPECT_EQ(books.lastErrorFile, path);
    Log(1, "goes on in the file that was moved");
    books = Books();
    EXPECT_FALSE(books.failing);
    EXPECT_EQ(books.recordsWritten, 2U);
    LogDebug("lost");
    EXPECT_TRUE(Books("debug").failing);
    EXPECT_EQ(Books("debug").recordsDropped, 1U);
}

}  // namespace
}  // namespace NS_TEST
