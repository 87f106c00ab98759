// A file of an earlier process that cannot be read or cut.
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
    void BeginAgain(LogFilePolicy policy,
                    const std::vector<Fault>& faults = {{FaultyCall::TRUNCATE, 1, 1, EIO}}) {
        StopClock(kStart, 1);
        PlanFaults(Path("log"), faults);
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

TEST_F(Truncation, ThatIsInterruptedIsTriedAgain) {
    for (const LogFilePolicy policy : {LOG_FILE_POLICY_CONTRACT, LOG_FILE_POLICY_KEEP_RECORDS}) {
        LeaveFile(policy, "<2>\ntorn");
        BeginAgain(policy, {{FaultyCall::TRUNCATE, 1, 2, EINTR}});
        LogNext(1);
        EXPECT_EQ(FaultsSoFar(), 2u);
        EXPECT_EQ(Channel("corbaoper").recordsDropped, 0u);
        EXPECT_EQ(ReadFile(OnlyFile()).find("torn"), std::string::npos);
        End();
    }
}

// Of what cannot be read it is not known whether it is torn.
TEST_F(Truncation, IsNotTriedOfAFileWhoseEndCannotBeRead) {
    LeaveFile(LOG_FILE_POLICY_KEEP_RECORDS, "");
    const std::string path = OnlyFile();
    const std::string whole = ReadFile(path);
    BeginAgain(LOG_FILE_POLICY_KEEP_RECORDS,
               {{FaultyCall::READ, 1, 1, 0, 20}, {FaultyCall::READ, 2, 2, EIO}});
    LogNext(1);
    EXPECT_EQ(FaultsSoFar(), 2u);
    EXPECT_EQ(Channel("corbaoper").recordsDropped, 1u);
    EXPECT_EQ(Channel("corbaoper").lastError, EIO);
    LogNext(1);
    EXPECT_NE(Channel("corbaoper").currentFile, path);
    End();
    EXPECT_EQ(ReadFile(path), whole);
}

}  // namespace
}  // namespace NS_TEST
