#include "stream/message.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <string>

#include "stream/window.h"

namespace {

using namespace NS_LOG_FLEET;
using NS_LOG_READER::PieceKind;

Message PartMessage() {
    Message message;
    message.type = MessageType::Part;
    message.file = {"host1", "unbi_debug_20260305_140709_4711.log", "File create at ...\n"};
    message.low = 77;
    message.part.offset = 1234567890123;
    message.part.bytes = std::string("<1>\n\0\xFF</1>\n\nshort\n", 18);
    message.part.slices = {{PieceKind::Frame, 4294967295U, 12}, {PieceKind::Short, 0, 6}};
    return message;
}

TEST(Message, KeepsEveryByteOfAPart) {
    const Message message = PartMessage();
    const Message read = Decode(Encode(message));
    EXPECT_EQ(read.type, MessageType::Part);
    EXPECT_EQ(read.file.host, message.file.host);
    EXPECT_EQ(read.file.name, message.file.name);
    EXPECT_EQ(read.file.first, message.file.first);
    EXPECT_EQ(read.low, 77U);
    EXPECT_EQ(read.part.offset, message.part.offset);
    EXPECT_EQ(read.part.bytes, message.part.bytes);
    ASSERT_EQ(read.part.slices.size(), 2U);
    EXPECT_EQ(read.part.slices[0].kind, PieceKind::Frame);
    EXPECT_EQ(read.part.slices[0].number, 4294967295U);
    EXPECT_EQ(read.part.slices[1].length, 6U);
}

TEST(Message, RefusesEveryTextThatIsCutShort) {
    const std::string bytes = Encode(PartMessage());
    for (size_t size = 0; size < bytes.size(); ++size) {
        EXPECT_THROW(Decode(bytes.substr(0, size)), MessageError) << size;
    }
}

TEST(Message, RefusesPiecesThatAreNotWhatItHolds) {
    Message message = PartMessage();
    message.part.slices[1].length = 7;
    EXPECT_THROW(Decode(Encode(message)), MessageError);
    message = PartMessage();
    message.type = MessageType::Chunk;
    EXPECT_THROW(Decode(Encode(message)), MessageError);
    std::string bytes = Encode(PartMessage());
    bytes[1] = 9;
    EXPECT_THROW(Decode(bytes), MessageError);
}

// They stay in the stream. What is no message of any version does not.
TEST(Message, TellsThoseOfANewerProgramFromWhatIsNone) {
    std::string bytes = Encode(PartMessage());
    bytes[0] = 2;
    EXPECT_THROW(Decode(bytes), NewerMessage);
    for (const char odd : {'\0', '{', 'x', '\xFF'}) {
        bytes[0] = odd;
        try {
            Decode(bytes);
            ADD_FAILURE() << odd;
        } catch (const NewerMessage&) {
            ADD_FAILURE() << odd;
        } catch (const MessageError& error) {
            EXPECT_STREQ(error.what(), "the message is not one of qvlog's");
        }
    }
}

// Putting it together would take more memory than a collector or the store has for one of them.
TEST(Message, RefusesPartsOfAPieceThatIsTooLarge) {
    Message message = PartMessage();
    message.type = MessageType::Chunk;
    message.chunkOffset = message.part.offset;
    message.part.slices = {{PieceKind::Short, 0, kLargestPiece}};
    EXPECT_EQ(Decode(Encode(message)).part.slices[0].length, kLargestPiece);
    message.part.slices[0].length = kLargestPiece + 1;
    EXPECT_THROW(Decode(Encode(message)), MessageError);
}

// A name goes to the store as a text that ends at a zero byte.
TEST(Message, RefusesNamesWithAZeroByte) {
    const std::string odd("host1\0x", 7);
    Message message = PartMessage();
    message.file.host = odd;
    EXPECT_THROW(Decode(Encode(message)), MessageError);
    message = PartMessage();
    message.file.name = odd;
    EXPECT_THROW(Decode(Encode(message)), MessageError);
    message = PartMessage();
    message.file.first = odd;
    EXPECT_EQ(Decode(Encode(message)).file.first, odd);
    message.type = MessageType::Host;
    message.state = {odd, 1, 2, ""};
    EXPECT_THROW(Decode(Encode(message)), MessageError);
    message.state = {"host1", 1, 2, odd};
    EXPECT_THROW(Decode(Encode(message)), MessageError);
}

TEST(Message, IsOneOfTheHostWhoseSubjectItHas) {
    Message message = PartMessage();
    message.file.host = "n1.example";
    EXPECT_NO_THROW(CheckSubject(message, 2, FileSubject(2, message.file, "debug")));
    for (const char* subject : {"logs.2.n1.debug.x", "logs.2.n1=2Eexample2.debug.x",
                                "logs.2.host1.n1=2Eexample.x", "logs.3.n1=2Eexample.debug.x", ""}) {
        EXPECT_THROW(CheckSubject(message, 2, subject), MessageError) << subject;
    }
    message.type = MessageType::Host;
    message.state.host = "host1";
    EXPECT_NO_THROW(CheckSubject(message, 2, HostSubject(2, "host1")));
    EXPECT_THROW(CheckSubject(message, 2, HostSubject(2, "n1.example")), MessageError);
}

TEST(Message, KeepsAMarkAndAHostsState) {
    Message mark;
    mark.type = MessageType::Mark;
    mark.file = {"h", "n", "f"};
    mark.low = 5;
    EXPECT_EQ(Decode(Encode(mark)).low, 5U);
    Message host;
    host.type = MessageType::Host;
    host.state = {"h", 1, 2, "full"};
    EXPECT_EQ(Decode(Encode(host)).state.backlog, 1U);
    EXPECT_EQ(Decode(Encode(host)).state.problem, "full");
}

TEST(Subject, MakesOneWordOfAnyName) {
    EXPECT_EQ(SubjectWord("host-1_a"), "host-1_a");
    EXPECT_EQ(SubjectWord("n1.example *>"), "n1=2Eexample=20=2A=3E");
    EXPECT_EQ(SubjectWord("\xC3\xA4"), "=C3=A4");
    EXPECT_EQ(SubjectWord(""), "=");
}

TEST(Subject, TellsTwoContentsOfOneNameApart) {
    EXPECT_NE(FileSubject(0, {"h", "a.log", "one\n"}, "debug"),
              FileSubject(0, {"h", "a.log", "two\n"}, "debug"));
}

TEST(Shards, ArePlainNumbersBelowTheirCount) {
    EXPECT_EQ(ShardOf("host1", 1), 0U);
    bool differs = false;
    for (int i = 0; i < 100; ++i) {
        const uint32_t shard = ShardOf("host" + std::to_string(i), 10);
        EXPECT_LT(shard, 10U);
        differs = differs || shard != ShardOf("host0", 10);
    }
    EXPECT_TRUE(differs);
    // Shippers of two versions must agree.
    EXPECT_EQ(ShardOf("host1", 10), 6U);
}

TEST(Window, KnowsTheLowestPlaceThatIsOnItsWay) {
    Window window;
    EXPECT_EQ(window.Lowest(1, 99), 99U);
    window.Add("a", 1, 10);
    window.Add("b", 1, 20);
    window.Add("c", 2, 5);
    EXPECT_EQ(window.Lowest(1, 99), 10U);
    window.Remove("b");
    EXPECT_EQ(window.Lowest(1, 99), 10U);
    window.Remove("a");
    EXPECT_EQ(window.Lowest(1, 99), 99U);
    EXPECT_EQ(window.Lowest(2, 99), 5U);
}

// A shipper sends new files for ever.
TEST(Window, TakesNoMemoryForFilesOfWhichNothingIsOnItsWay) {
    Window window;
    const size_t before = ::mallinfo2().uordblks;
    for (int64_t file = 0; file < 10000; ++file) {
        window.Add("a", file, 10);
        window.Remove("a");
    }
    EXPECT_LT(::mallinfo2().uordblks, before + 100000);
}

TEST(Window, HasNoRoomAfterAFailure) {
    Window window;
    window.Add("a", 1, 10);
    EXPECT_TRUE(window.AwaitRoom(2));
    window.Fail("full");
    window.Fail("later");
    EXPECT_FALSE(window.AwaitRoom(1));
    EXPECT_EQ(window.Failure(), "full");
}

}  // namespace
