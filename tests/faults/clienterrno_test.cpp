// What a client finds in errno behind a call that logs.
#include <gtest/gtest.h>

#include <cerrno>

#include "faults/faultsfixture.h"

namespace NS_TEST {
namespace {

using NS_LOG_SERVICE1::LogFilePolicy;

// Nothing that the service does sets it, so it cannot be there by chance.
constexpr int kErrorOfTheClient = EL2NSYNC;

class ClientErrno : public FaultsTest, public testing::WithParamInterface<LogFilePolicy> {
  protected:
    // Whether errno is the client's behind a record of this level, when all calls for files fail
    // from now on.
    void ExpectUntouchedByFailing(OutputKind kind, int level, int before) {
        Begin(kind, GetParam(),
              {{FaultyCall::WRITE, 1, UINT64_MAX, ENOSPC},
               {FaultyCall::OPEN, 1, UINT64_MAX, EMFILE}});
        for (int i = 0; i < before; ++i) {
            LogNext(1);
        }
        errno = kErrorOfTheClient;
        LogNext(level);
        EXPECT_EQ(errno, kErrorOfTheClient);
        EXPECT_GT(FaultsSoFar(), 0u);
        End();
    }
};

TEST_P(ClientErrno, IsTheSameWhenTheRecordCannotBeWritten) {
    ExpectUntouchedByFailing(OutputKind::DIRECT, 1, 0);
}

TEST_P(ClientErrno, IsTheSameWhenTheDumpCannotBeWritten) {
    ExpectUntouchedByFailing(OutputKind::DUMP, 0, 0);
}

TEST_P(ClientErrno, IsTheSameWhenTheQueueCannotBeWritten) {
    ExpectUntouchedByFailing(OutputKind::QUEUED, 1, int{kQueue} - 1);
}

TEST_P(ClientErrno, IsTheSameBehindAFileThatWasOpened) {
    Begin(OutputKind::DIRECT, GetParam(), {{FaultyCall::WRITE, 1, 1, EIO}});
    errno = kErrorOfTheClient;
    OperLogger().LogFormat("file.cpp", "Function", 7, 1, "%s %d %.3f", "text", 1, 0.5);
    EXPECT_EQ(errno, kErrorOfTheClient);
    Stop();
}

INSTANTIATE_TEST_SUITE_P(Policies, ClientErrno,
                         testing::Values(NS_LOG_SERVICE1::LOG_FILE_POLICY_CONTRACT,
                                         NS_LOG_SERVICE1::LOG_FILE_POLICY_KEEP_RECORDS),
                         [](const auto& policy) {
                             return policy.param == NS_LOG_SERVICE1::LOG_FILE_POLICY_CONTRACT
                                        ? "Contract"
                                        : "KeepRecords";
                         });

}  // namespace
}  // namespace NS_TEST
