// The bytes that are about to be written to a file.
#include "channel/framebuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace NS_LOG_SERVICE1 {
namespace {

// Reserves more than is filled.
void Append(FrameBuffer& buffer, const std::string& text, size_t spare) {
    char* const end = buffer.Reserve(text.size() + spare);
    std::memcpy(end, text.data(), text.size());
    buffer.Commit(end + text.size());
}

TEST(FrameBuffer, StartsEmpty) {
    const FrameBuffer buffer;
    EXPECT_EQ(buffer.Size(), 0u);
    EXPECT_EQ(buffer.Bytes(), "");
}

TEST(FrameBuffer, KeepsWhatWasCommitted) {
    FrameBuffer buffer;
    Append(buffer, "abc", 0);
    EXPECT_EQ(buffer.Bytes(), "abc");
    Append(buffer, "def", 1000);
    EXPECT_EQ(buffer.Bytes(), "abcdef");
    EXPECT_EQ(buffer.Size(), 6u);
}

TEST(FrameBuffer, ForgetsWhatWasReservedOnly) {
    FrameBuffer buffer;
    Append(buffer, "abc", 0);
    std::memset(buffer.Reserve(50), 'x', 50);
    EXPECT_EQ(buffer.Bytes(), "abc");
    Append(buffer, "d", 0);
    EXPECT_EQ(buffer.Bytes(), "abcd");
}

TEST(FrameBuffer, GrowsAndKeepsItsBytes) {
    FrameBuffer buffer;
    std::string expected;
    for (size_t i = 1; i < 3000; ++i) {
        const std::string piece(i % 701, static_cast<char>('a' + i % 26));
        Append(buffer, piece, i % 13);
        expected += piece;
    }
    EXPECT_TRUE(buffer.Bytes() == expected);
}

TEST(FrameBuffer, TakesAHugePiece) {
    FrameBuffer buffer;
    Append(buffer, "abc", 0);
    const std::string huge(20000000, 'h');
    Append(buffer, huge, 0);
    EXPECT_TRUE(buffer.Bytes() == "abc" + huge);
    buffer.Clear();
    EXPECT_EQ(buffer.Size(), 0u);
    Append(buffer, "after", 0);
    EXPECT_EQ(buffer.Bytes(), "after");
}

TEST(FrameBuffer, CanBeClearedAgainAndAgain) {
    FrameBuffer buffer;
    buffer.Clear();
    for (int i = 0; i < 100; ++i) {
        buffer.Clear();
        EXPECT_EQ(buffer.Bytes(), "");
        Append(buffer, std::to_string(i), 100);
        EXPECT_EQ(buffer.Bytes(), std::to_string(i));
    }
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
