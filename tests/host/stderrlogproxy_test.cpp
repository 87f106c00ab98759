// Diagnostics on standard error.
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <thread>
#include <vector>

#include "bundlemgr/logproxy.h"
#include "platform/hostcontrol.h"
#include "support/capturedoutput.h"
#include "support/onthreads.h"

using NS_BUNDLEMGR1::LogProxy;
using NS_REFERENCE_HOST::StderrLogProxyProvider;
using namespace NS_TEST;
using namespace testing;

namespace {

LogProxy* ProxyFor(const std::string& name) {
    return StderrLogProxyProvider()->GetLogProxy(name);
}

LogProxy* NamedProxy() {
    LogProxy* proxy = ProxyFor("test_bundletest_service");
    proxy->SetBundleName("test_bundle");
    proxy->SetServiceName("test_service");
    return proxy;
}

const char* const kTime =
    "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{6}[+-][0-9]{2}:[0-9]{2}";

TEST(StderrLogProxy, IsTheSameForTheSameName) {
    EXPECT_EQ(ProxyFor("one"), ProxyFor("one"));
    EXPECT_NE(ProxyFor("one"), ProxyFor("two"));
    EXPECT_NE(ProxyFor("one"), nullptr);
}

TEST(StderrLogProxy, SaysWhenWhoWhereAndWhat) {
    const CapturedOutput errors(STDERR_FILENO);
    LogProxy* proxy = NamedProxy();
    proxy->SetPosition("logimpl", 210);
    proxy->Print(2, "value %d of %s", 7, "item");
    EXPECT_THAT(errors.Text(), MatchesRegex(std::string(kTime) +
                                            " level 2 test_bundle test_service logimpl:210 value 7 "
                                            "of item\n"));
}

TEST(StderrLogProxy, IsKnownByItsOwnNameUntilItIsToldBetterOnesWhichItCopies) {
    const CapturedOutput errors(STDERR_FILENO);
    LogProxy* proxy = ProxyFor("unnamed");
    proxy->Print(1, "text");
    EXPECT_THAT(errors.Text(), EndsWith(" level 1 unnamed - - text\n"));
    std::string bundle = "a bundle with a long name of its own";
    proxy->SetBundleName(bundle.c_str());
    proxy->SetServiceName(bundle.c_str() + 2);
    bundle.assign(bundle.size(), 'x');
    proxy->Print(1, "text");
    EXPECT_THAT(errors.Text(), EndsWith(" level 1 a bundle with a long name of its own "
                                        "bundle with a long name of its own - text\n"));
}

TEST(StderrLogProxy, KeepsADiagnosticOnOneLineOfValidText) {
    const CapturedOutput errors(STDERR_FILENO);
    NamedProxy()->Print(1, "\nfirst\nsecond\r\n third !!\n\n");
    NamedProxy()->Print(1, "bell \a, escape \x1b, tab \t.");
    NamedProxy()->Print(1, "%s", "\n");
    NamedProxy()->Print(1, "M\xFCnchen");
    EXPECT_THAT(SplitText(errors.Text()),
                ElementsAre(EndsWith(" - first\\nsecond\\r\\n third !!"),
                            EndsWith(" - bell \\x07, escape \\x1b, tab \t."),
                            EndsWith(" test_service - "), EndsWith(" M\xEF\xBF\xBDnchen")));
}

TEST(StderrLogProxy, WritesTextsOfAnyLength) {
    for (const size_t length : {1022u, 1023u, 1024u, 1025u, 100'000u}) {
        const CapturedOutput errors(STDERR_FILENO);
        const std::string text(length, 'x');
        NamedProxy()->Print(1, "<%s>", text.c_str());
        EXPECT_THAT(errors.Text(), EndsWith(" - <" + text + ">\n"));
    }
}

TEST(StderrLogProxy, UsesAPositionUpWithTheNextDiagnosticOfItsThreadAndProxy) {
    const CapturedOutput errors(STDERR_FILENO);
    LogProxy* proxy = NamedProxy();
    proxy->SetPosition("file", 1);
    proxy->SetPosition("file", 2);
    std::thread([proxy] { proxy->Print(1, "another thread"); }).join();
    ProxyFor("other")->Print(1, "another proxy");
    proxy->Print(1, "own");
    proxy->Print(1, "next");
    EXPECT_THAT(SplitText(errors.Text()),
                ElementsAre(EndsWith(" - another thread"), EndsWith(" - another proxy"),
                            EndsWith(" file:2 own"), EndsWith(" - next")));
}

TEST(StderrLogProxy, AnswersNothingInTheReservedSlots) {
    const CapturedOutput errors(STDERR_FILENO);
    LogProxy* proxy = NamedProxy();
    proxy->Reserved2();
    proxy->Reserved3();
    proxy->Reserved5();
    proxy->Reserved11();
    for (const int answer : {proxy->Reserved6(), proxy->Reserved7(), proxy->Reserved8(),
                             proxy->Reserved9(), proxy->Reserved10(), proxy->Reserved12()}) {
        EXPECT_EQ(answer, 0);
    }
    EXPECT_EQ(proxy->GetProxyName(), "StderrLogProxy");
    EXPECT_EQ(errors.Text(), "");
}

// Standard error becomes a socket that keeps the bounds of each write.
TEST(StderrLogProxy, WritesEachDiagnosticAtOnce) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
    const int saved = dup(STDERR_FILENO);
    ASSERT_GE(dup2(ends[1], STDERR_FILENO), 0);
    NamedProxy()->Print(1, "first");
    NamedProxy()->Print(1, "second");
    dup2(saved, STDERR_FILENO);
    close(saved);
    close(ends[1]);
    std::vector<std::string> writes;
    char buffer[1024];
    for (ssize_t length; (length = recv(ends[0], buffer, sizeof(buffer), 0)) > 0;) {
        writes.emplace_back(buffer, static_cast<size_t>(length));
    }
    close(ends[0]);
    EXPECT_THAT(writes, ElementsAre(EndsWith(" first\n"), EndsWith(" second\n")));
}

TEST(StderrLogProxy, LosesADiagnosticWithoutATraceWhenStandardErrorIsClosed) {
    const int saved = dup(STDERR_FILENO);
    close(STDERR_FILENO);
    errno = EDOM;
    NamedProxy()->Print(1, "lost");
    EXPECT_EQ(errno, EDOM);
    ASSERT_EQ(dup2(saved, STDERR_FILENO), STDERR_FILENO);
    close(saved);
    const CapturedOutput errors(STDERR_FILENO);
    NamedProxy()->Print(1, "seen");
    EXPECT_THAT(errors.Text(), EndsWith(" seen\n"));
}

TEST(StderrLogProxy, KeepsTheLinesOfManyThreadsApart) {
    constexpr int kThreads = 8;
    constexpr int kLines = 200;
    const CapturedOutput errors(STDERR_FILENO);
    OnThreads(kThreads, [](int number) {
        for (int line = 0; line < kLines; ++line) {
            LogProxy* proxy = NamedProxy();
            proxy->SetPosition("file", number);
            proxy->Print(1, "thread %d.", number);
        }
    });
    const std::vector<std::string> lines = SplitText(errors.Text());
    EXPECT_THAT(lines, SizeIs(kThreads * kLines));
    for (const std::string& line : lines) {
        const std::string number = line.substr(line.size() - 2, 1);
        EXPECT_THAT(line, EndsWith(" level 1 test_bundle test_service file:" + number + " thread " +
                                   number + "."));
    }
}

}  // namespace
