// A file of an earlier process that cannot be cut.
#include <cerrno>
#include <fstream>

#include "faults/faultsfixture.h"

using namespace NS_LOG_SERVICE1;
using namespace testing;

namespace NS_TEST {
namespace {

class Truncation : public FaultsTest {
  protected:
    // Leaves a file with one record, and `end` behind its closing line.
    void LeaveFile(LogFilePolicy policy, const std::string& end) {
        Begin(OutputKind::DIRECT, policy, {});
        LogNext(1);
        End();
        std::ofstream(OnlyFile(), std::ios::app) << end;
    }

    // Starts the service again in the second in which it was started, so that it finds the file.
    // The first truncation fails.
    void BeginAgain(LogFilePolicy policy) {
        StopClock(kStart, 1);
        PlanFaults(Path("log"), {{FaultyCall::TRUNCATE, 1, 1, EIO}});
        Start();
        Maintenance().SetFilePolicy(policy);
    }

    std::string OnlyFile() const {
        const std::vector<std::string> names = ListLogFiles(Path("log"), "corbaoper");
        EXPECT_THAT(names, SizeIs(1));
        return Path("log/" + names.at(0));
    }

    // The next record is lost, and the file is as it was.
    void ExpectNextRecordLost() {
        const std::string before = ReadFile(OnlyFile());
        LogNext(1);
        EXPECT_EQ(ReadFile(OnlyFile()), before);
        EXPECT_EQ(FaultsSoFar(), 1u);
        EXPECT_EQ(Channel("corbaoper").recordsDropped, 1u);
        EXPECT_EQ(Channel("corbaoper").lastError, EIO);
    }
};

TEST_F(Truncation, ThatFailsLeavesAFileThatWasToBeEmptied) {
    LeaveFile(LOG_FILE_POLICY_CONTRACT, "");
    BeginAgain(LOG_FILE_POLICY_CONTRACT);
    ExpectNextRecordLost();
    LogNext(1);
    EXPECT_EQ(Channel("corbaoper").recordsWritten, 1u);
    End();
}

TEST_F(Truncation, ThatFailsLeavesAFileWithATornEnd) {
    LeaveFile(LOG_FILE_POLICY_KEEP_RECORDS, "<2>\ntorn");
    const std::string path = OnlyFile();
    BeginAgain(LOG_FILE_POLICY_KEEP_RECORDS);
    ExpectNextRecordLost();
    const std::string torn = ReadFile(path);
    LogNext(1);
    EXPECT_EQ(Channel("corbaoper").recordsWritten, 1u);
    EXPECT_NE(Channel("corbaoper").currentFile, path);
    End();
    EXPECT_EQ(ReadFile(path), torn);
}

}  // namespace
}  // namespace NS_TEST
