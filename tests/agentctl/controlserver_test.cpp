// The control socket's server and its clients, those that behave and the others.
#include "control/controlserver.h"

#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <memory>
#include <new>
#include <optional>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include "agentctl/advancedclock.h"
#include "agentctl/socketclient.h"
#include "agentctl/tasks.h"
#include "control/connection.h"
#include "control/filedescriptor.h"
#include "control/peer.h"
#include "control/protocol.h"
#include "support/allocations.h"
#include "support/capturedoutput.h"
#include "support/onthreads.h"
#include "support/repetitions.h"
#include "support/temporarydirectory.h"

namespace {

using namespace std::chrono_literals;
using NS_REFERENCE_HOST::ControlServer;
using NS_REFERENCE_HOST::IsPermittedPeer;
using NS_REFERENCE_HOST::kMaximumRequest;
using namespace NS_TEST;
using namespace testing;

constexpr std::string::size_type kLongAnswer = 16 * 1024 * 1024;

// Answers with the request in brackets, but for some requests that a test has a use for.
class ControlServerLife : public DirectoryTest {
  protected:
    // Without an argument nobody runs out of patience.
    void Start(std::chrono::milliseconds patience = 1h) {
        server_ = std::make_unique<ControlServer>(
            Socket(), [this](const std::string& request) { return Answer(request); }, patience);
        server_->Start();
    }

    std::string Socket() const { return Path("socket"); }

    // Asks until there is an answer: a server without patience gives up even those who behave when
    // the machine is busy.
    std::string AskPatiently(const std::string& request) const {
        std::string answer;
        while (answer.empty()) {
            answer = AskServer(Socket(), request);
        }
        return answer;
    }

    // As many clients as the server takes, none of which says anything.
    std::vector<std::unique_ptr<SocketClient>> FillWithSilentClients() const {
        std::vector<std::unique_ptr<SocketClient>> silent;
        for (std::size_t index = 0; index < ControlServer::kMaximumClients; ++index) {
            silent.push_back(std::make_unique<SocketClient>(Socket()));
        }
        return silent;
    }

    std::string Answer(const std::string& request) {
        if (request == "long") {
            return std::string(kLongAnswer, 'x');
        }
        if (request == "throw") {
            throw std::runtime_error("broken");
        }
        if (request == "no memory") {
            FailNextAllocation();
            throw std::bad_alloc();
        }
        if (request == "wait") {
            entered_.Happen();
            mayLeave_.Await();
        }
        return "[" + request + "]";
    }

    Happening entered_;
    Happening mayLeave_;
    std::unique_ptr<ControlServer> server_;
};

TEST_F(ControlServerLife, AnswersOneRequestInOneLineAndCloses) {
    Start();
    EXPECT_EQ(AskServer(Socket(), "hello"), "[hello]\n");
    EXPECT_EQ(AskServer(Socket(), ""), "[]\n");
    EXPECT_THAT(AskServer(Socket(), "long"), SizeIs(kLongAnswer + 1));
}

// There is no memory for the report either.
TEST_F(ControlServerLife, AClientForWhoseAnswerThereIsNoMemoryIsDroppedAndTheNextOneServed) {
    Start();
    EXPECT_EQ(AskServer(Socket(), "no memory"), "");
    EXPECT_EQ(AskServer(Socket(), "hello"), "[hello]\n");
}

TEST_F(ControlServerLife, ARequestMayComeInPiecesAndHasToEnd) {
    Start();
    SocketClient client(Socket());
    for (const char* piece : {"he", "l", "lo", "\n"}) {
        client.Send(piece);
        EXPECT_EQ(AskServer(Socket(), "other"), "[other]\n");  // the piece has been read by now
    }
    EXPECT_EQ(client.ReceiveAll(), "[hello]\n");
    SocketClient unfinished(Socket());
    unfinished.Send("half");
    unfinished.EndSending();
    EXPECT_THAT(unfinished.ReceiveAll(), HasSubstr("does not end with a newline"));
}

TEST_F(ControlServerLife, TakesARequestOfTheGreatestLengthAndRefusesALongerOne) {
    Start();
    const std::string longest(kMaximumRequest - 1, 'a');
    EXPECT_EQ(AskServer(Socket(), longest), "[" + longest + "]\n");
    EXPECT_THAT(AskServer(Socket(), longest + "a"), HasSubstr("longer than 4096 bytes"));
    EXPECT_EQ(AskServer(Socket(), "hello"), "[hello]\n");
}

TEST_F(ControlServerLife, FloodsAndClientsThatVanishInTheMiddleOfTheirAnswersHarmNobody) {
    Start();
    for (int round = 0; round < Repetitions(20); ++round) {
        SocketClient flooding(Socket());
        flooding.Send(std::string(1000000, 'a'));
        SocketClient vanishing(Socket());
        vanishing.Send("long\n");
        EXPECT_THAT(vanishing.ReceiveSome(1), SizeIs(1));
    }
    EXPECT_EQ(AskServer(Socket(), "hello"), "[hello]\n");
}

TEST_F(ControlServerLife, RandomBytesInPiecesOfAnySizeHarmNobody) {
    Start();
    std::minstd_rand0 random(1);
    for (int round = 0; round < 100; ++round) {
        SocketClient client(Socket());
        std::string sent;
        for (unsigned pieces = random() % 8; pieces > 0; --pieces) {
            std::string piece(random() % 1500, ' ');
            for (char& byte : piece) {
                byte = static_cast<char>(random() % 1000 == 0 ? '\n' : 1 + random() % 9);
            }
            client.Send(piece);
            sent += piece;
        }
        client.EndSending();
        const std::string request = sent.substr(0, sent.find('\n'));
        const bool isComplete = request.size() < sent.size() && request.size() < kMaximumRequest;
        const std::string answer = client.ReceiveAll();
        EXPECT_EQ(answer == "[" + request + "]\n", isComplete) << "in round " << round;
    }
    EXPECT_EQ(AskServer(Socket(), "hello"), "[hello]\n");
}

TEST_F(ControlServerLife, AGigabyteWithoutANewlineIsRefusedAtItsBeginning) {
    Start();
    SocketClient flooding(Socket());
    const std::string piece(1024 * 1024, 'a');
    for (int pieces = 0; pieces < 1024; ++pieces) {
        flooding.Send(piece);
    }
    EXPECT_THAT(flooding.ReceiveAll(), HasSubstr("longer than 4096 bytes"));
    EXPECT_EQ(AskServer(Socket(), "hello"), "[hello]\n");
}

TEST_F(ControlServerLife, TenThousandConnectionsHarmNobody) {
    Start();
    for (int connection = 0; connection < 10000; ++connection) {
        const SocketClient client(Socket());
    }
    EXPECT_EQ(AskServer(Socket(), "hello"), "[hello]\n");
}

TEST_F(ControlServerLife, AClientThatDoesNotTakeItsAnswerIsGivenUp) {
    Start(200ms);
    SocketClient lazy(Socket());
    lazy.Send("long\n");
    ASSERT_TRUE(lazy.AwaitHangUp());
    EXPECT_LT(lazy.ReceiveAll().size(), kLongAnswer);
}

TEST_F(ControlServerLife, SilentClientsOnAllPlacesAreGivenUpAndHoldUpNobody) {
    Start(200ms);
    const auto silent = FillWithSilentClients();
    silent.front()->Send("half a li");
    EXPECT_EQ(AskPatiently("hello"), "[hello]\n");
    EXPECT_THAT(silent.front()->ReceiveAll(), IsEmpty());
}

// They would have twenty seconds and are given up after a tenth of them.
TEST_F(ControlServerLife, ThoseWhoHangDoNotKeepTheOthersOut) {
    Start(20s);
    const auto begin = std::chrono::steady_clock::now();
    const auto silent = FillWithSilentClients();
    EXPECT_EQ(AskServer(Socket(), "hello"), "[hello]\n");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
}

TEST_F(ControlServerLife, ServesEightClientsAtOnce) {
    Start();
    std::atomic<int> right{0};
    OnThreads(8, [&](int thread) {
        for (int round = 0; round < 50; ++round) {
            const std::string text = std::to_string(thread * 1000 + round);
            right += AskServer(Socket(), text) == "[" + text + "]\n" ? 1 : 0;
        }
    });
    EXPECT_EQ(right, 8 * 50);
}

TEST_F(ControlServerLife, TheTimeOfALongRequestIsNotCountedAgainstTheOthers) {
    Start();
    SocketClient other(Socket());
    other.Send("he");
    EXPECT_EQ(AskServer(Socket(), "first"), "[first]\n");  // so the other one has been admitted
    SocketClient slow(Socket());
    slow.Send("wait\n");
    ASSERT_TRUE(entered_.Await());
    const AdvancedClock clock(2h);  // more than the patience, which the others must not lose
    mayLeave_.Happen();
    EXPECT_EQ(slow.ReceiveAll(), "[wait]\n");
    other.Send("llo\n");
    EXPECT_EQ(other.ReceiveAll(), "[hello]\n");
}

TEST_F(ControlServerLife, ARequestThatFailsCostsOnlyItsClient) {
    const CapturedOutput errors(STDERR_FILENO);
    Start();
    EXPECT_THAT(AskServer(Socket(), "throw"), IsEmpty());
    EXPECT_EQ(AskServer(Socket(), "hello"), "[hello]\n");
    EXPECT_THAT(errors.Text(), HasSubstr("broken"));
}

TEST_F(ControlServerLife, TheEndDropsTheClientsAndRemovesTheSocket) {
    Start();
    SocketClient waiting(Socket());
    EXPECT_EQ(AskServer(Socket(), "hello"), "[hello]\n");
    server_.reset();
    EXPECT_THAT(waiting.ReceiveAll(), IsEmpty());
    EXPECT_NE(access(Socket().c_str(), F_OK), 0);
}

TEST_F(ControlServerLife, TheEndWaitsForTheRequestThatIsCarriedOut) {
    Start();
    SocketClient slow(Socket());
    slow.Send("wait\n");
    ASSERT_TRUE(entered_.Await());
    std::thread helper([this] { mayLeave_.Happen(); });
    server_.reset();
    EXPECT_TRUE(mayLeave_.HasHappened());
    helper.join();
}

TEST(ControlConnection, HasItsPatienceAnewForTheAnswer) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends), 0);
    const NS_REFERENCE_HOST::FileDescriptor client(ends[0]);
    NS_REFERENCE_HOST::Connection connection(NS_REFERENCE_HOST::FileDescriptor(ends[1]), 1h);
    const auto deadline = connection.Deadline();
    ASSERT_EQ(send(client.Get(), "hello\n", 6, MSG_NOSIGNAL), 6);
    EXPECT_TRUE(
        connection.Proceed([](const std::string&) { return std::string(kLongAnswer, 'x'); }));
    EXPECT_GT(connection.Deadline(), deadline);
}

TEST(ControlPeer, TheSameUserAndRootArePermitted) {
    EXPECT_TRUE(IsPermittedPeer(1000, 1000));
    EXPECT_TRUE(IsPermittedPeer(0, 1000));
    EXPECT_TRUE(IsPermittedPeer(0, 0));
    EXPECT_FALSE(IsPermittedPeer(1001, 1000));
    EXPECT_FALSE(IsPermittedPeer(1000, 0));
}

TEST(ControlPeer, IsKnownByTheSystem) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    EXPECT_EQ(NS_REFERENCE_HOST::GetPeer(ends[0]), geteuid());
    close(ends[0]);
    close(ends[1]);
    EXPECT_THROW(NS_REFERENCE_HOST::GetPeer(ends[0]), std::system_error);
}

// Another user comes as far as this only when somebody has opened the socket's mode. Becoming
// another user takes root; for others the two tests above have to do.
TEST_F(ControlServerLife, AnotherUserIsRefusedEvenWhereTheModeWouldLetHimIn) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    const CapturedOutput errors(STDERR_FILENO);
    Start();
    ASSERT_EQ(chmod(Path().c_str(), 0711), 0);
    ASSERT_EQ(chmod(Socket().c_str(), 0666), 0);
    // The system's own call, because the library's changes the user of all threads.
    const auto ask = [this]() -> std::optional<std::string> {
        EXPECT_EQ(syscall(SYS_setresuid, 65534, 65534, 65534), 0);
        if (access(Path().c_str(), X_OK) != 0) {
            return std::nullopt;
        }
        return AskServer(Socket(), "hello");
    };
    const std::optional<std::string> answer = std::async(std::launch::async, ask).get();
    prctl(PR_SET_DUMPABLE, 1);  // the change of the user took that away
    if (!answer) {
        GTEST_SKIP() << "another user cannot come to " << Path();
    }
    EXPECT_THAT(*answer, HasSubstr("only the agent's own user"));
    EXPECT_THAT(errors.Text(), HasSubstr("refused user 65534"));
    EXPECT_EQ(AskServer(Socket(), "hello"), "[hello]\n");
}

}  // namespace
