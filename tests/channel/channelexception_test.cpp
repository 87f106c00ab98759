// Exceptions that leave a channel's operations, as for lack of memory, leave no lock behind.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <string>

#include "channel/channel.h"
#include "channel/channelfixture.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

using NS_TEST::kCreated;
using NS_TEST::ParsedPiece;
using NS_TEST::ProcessStatus;
using NS_TEST::ReadFile;
using NS_TEST::WithDetail;

namespace NS_LOG_SERVICE1 {
namespace {

class ChannelException : public NS_TEST::ChannelTest {
  protected:
    // From now on each write that holds `text` ends in an exception.
    static void Refuse(const std::string& text) {
        Calls().ScriptWrites([text](uint64_t, std::string_view bytes) {
            if (bytes.find(text) != std::string_view::npos) {
                throw std::bad_alloc();
            }
            return NS_TEST::SystemCalls::Fate();
        });
    }

    // `operation` throws while its write is refused; the channel goes on afterwards.
    void ExpectNoLockHeldAfter(const std::function<void(TEDebugInfoBuf&)>& operation) {
        const std::string category = "c" + std::to_string(++channels_);
        TEDebugInfoBuf channel(category.c_str(), 2, 5, 1000000, 5);
        channel.AppendOutputInfo(WithDetail(1, "queued, refused").Get());
        channel.AppendFiltered(WithDetail(1, "kept").Get());
        Refuse("refused");
        EXPECT_THROW(operation(channel), std::bad_alloc);
        Calls().ScriptWrites(nullptr);
        channel.Output(WithDetail(1, "written").Get());
        channel.Output(WithDetail(0, "written").Get());
        channel.AppendOutputInfo(WithDetail(0, "written").Get());
        channel.AppendFiltered(WithDetail(1, "kept").Get());
        channel.Flush();
        channel.OutputAll();
        const auto dumps =
            NS_TEST::OfKind(NS_TEST::ParseLogPieces(channel.CurrentPath()), ParsedPiece::DUMP);
        EXPECT_EQ(dumps.size(), 3u);
    }

  private:
    int channels_ = 0;
};

TEST_F(ChannelException, LeavesNoLockBehind) {
    ExpectNoLockHeldAfter(
        [](TEDebugInfoBuf& channel) { channel.Output(WithDetail(1, "refused").Get()); });
    ExpectNoLockHeldAfter(
        [](TEDebugInfoBuf& channel) { channel.Output(WithDetail(0, "refused").Get()); });
    ExpectNoLockHeldAfter(
        [](TEDebugInfoBuf& channel) { channel.AppendOutputInfo(WithDetail(1, "refused").Get()); });
    ExpectNoLockHeldAfter(
        [](TEDebugInfoBuf& channel) { channel.AppendOutputInfo(WithDetail(0, "refused").Get()); });
    ExpectNoLockHeldAfter([](TEDebugInfoBuf& channel) { channel.Flush(); });
    ExpectNoLockHeldAfter([](TEDebugInfoBuf& channel) { channel.OutputAll(); });
}

TEST_F(ChannelException, LeavesTheHistoryForTheNextError) {
    for (const bool queued : {false, true}) {
        TEDebugInfoBuf channel(queued ? "queued" : "direct", 10, 10, 1000000, 5);
        const auto error = [&](const std::string& detail) {
            const auto record = WithDetail(0, detail);
            queued ? channel.AppendOutputInfo(record.Get()) : channel.Output(record.Get());
        };
        channel.AppendFiltered(WithDetail(3, "kept").Get());
        Refuse("refused");
        EXPECT_THROW(error("refused"), std::bad_alloc);
        Calls().ScriptWrites(nullptr);
        error("the next one");
        EXPECT_NE(ReadFile(channel.CurrentPath()).find("kept"), std::string::npos);
    }
}

TEST_F(ChannelException, LeavesTheCreationMaskAsItWas) {
    umask(0123);
    TEDebugInfoBuf channel("debug", 10, 10, 1000000, 5);
    Calls().ScriptOpens([](uint64_t) -> int { throw std::bad_alloc(); });
    EXPECT_THROW(channel.Output(WithDetail(1, "lost").Get()), std::bad_alloc);
    EXPECT_EQ(ProcessStatus("Umask"), "0123");
    Calls().ScriptOpens(nullptr);
    umask(022);
    channel.Output(WithDetail(1, "written").Get());
    EXPECT_NE(ReadFile(channel.CurrentPath()).find("written"), std::string::npos);
}

TEST_F(ChannelException, EndsWithTheChannelWhichLeavesItsFileOpen) {
#if defined(__SANITIZE_ADDRESS__)
    const __lsan::ScopedDisabler deliberate;  // what is left open is never freed
#endif
    auto channel = std::make_unique<TEDebugInfoBuf>("debug", 10, 10, 1000000, 5);
    channel->AppendOutputInfo(WithDetail(1, "refused").Get());
    Refuse("refused");
    EXPECT_NO_THROW(channel.reset());
    EXPECT_EQ(ReadFile(Path("log/" + NameNow())), kCreated);
}

TEST_F(ChannelException, OfTheClosingLineEndsWithTheChannel) {
    auto channel = std::make_unique<TEDebugInfoBuf>("debug", 10, 10, 1000000, 5);
    channel->Output(WithDetail(1, "one").Get());
    Refuse("File close");
    EXPECT_NO_THROW(channel.reset());
    EXPECT_EQ(ReadFile(Path("log/" + NameNow())), kCreated + NS_TEST::Frame(1, 1, "one"));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
