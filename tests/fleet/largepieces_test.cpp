// Records that are larger than any target takes.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <utility>

#include "fleet/shipperfixture.h"
#include "ship/pieceend.h"
#include "support/capturedoutput.h"

namespace {

using namespace NS_TEST;
using ::testing::HasSubstr;

const std::string kStamp = "2026-03-05T14:07:10.000001+01:00";

class TextSource final : public NS_LOG_READER::ByteSource {
  public:
    explicit TextSource(std::string text) : text_(std::move(text)) {}

    // A few bytes each time, so that everything stands at the end of what was read once.
    size_t Read(char* bytes, size_t size) override {
        const size_t read = text_.copy(bytes, std::min<size_t>(size, 101), offset_);
        offset_ += read;
        return read;
    }
    void Seek(uint64_t offset) override { offset_ = offset; }
    uint64_t Size() const override { return text_.size(); }
    bool IsPlain() const override { return true; }

  private:
    const std::string text_;
    size_t offset_ = 0;
};

std::optional<uint64_t> EndIn(const std::string& text, bool isSettled, bool isWhole) {
    TextSource source("xx" + text);
    return FindPieceEnd(source, 2, isSettled, isWhole);
}

TEST(PieceEnd, OfAFrameIsItsOwnClosingTagThatAPieceFollows) {
    const std::string frame = "<7>\n" + kStamp + ", ...\n" + std::string(1000, 'x') +
                              "\n</7>\n\nquoted, and no piece begins here\n" + kStamp +
                              ",a line of a dump\n</8>\n\n</7>\n\n";
    for (const std::string& next :
         {"<8>\n" + kStamp + ", ...\n", "\nFile close at " + kStamp + ".\n", kStamp + ",short\n"}) {
        const std::string text = frame + next + std::string(200, 'x');
        EXPECT_EQ(EndIn(text, false, false), 2 + frame.size()) << next;
    }
}

TEST(PieceEnd, OfAShortRecordIsTheLineThatAPieceFollows) {
    const std::string record = kStamp + ",first\nsecond\n" + std::string(500, 'x') + "\n";
    EXPECT_EQ(EndIn(record + kStamp + ",short\n" + std::string(200, 'x'), false, false),
              2 + record.size());
}

TEST(PieceEnd, IsAwaitedWhileTheFileGrows) {
    const std::string frame = "<7>\n" + kStamp + ", ...\n" + std::string(1000, 'x');
    const std::string closed = frame + "\n</7>\n\n";
    EXPECT_EQ(EndIn(frame, true, false), std::nullopt);
    EXPECT_EQ(EndIn(closed, false, false), std::nullopt);
    EXPECT_EQ(EndIn(closed, true, false), 2 + closed.size());
    EXPECT_EQ(EndIn(frame, true, true), 2 + frame.size());
}

TEST(PieceEnd, OfATornFrameIsWhereTheNextPieceBegins) {
    const std::string torn = "<7>\n" + kStamp + ", ...\n" + std::string(1000, 'x');
    for (const std::string& next :
         {"<9>\n" + kStamp + ", ...\n", "\nFile close at " + kStamp + ".\n"}) {
        const std::string text = torn + next + std::string(1000, 'x') + "\n</9>\n\n";
        EXPECT_EQ(EndIn(text, true, true), 2 + torn.size()) << next;
        EXPECT_EQ(EndIn(text, true, false), std::nullopt) << next;
    }
    const std::string closed = torn + "\n</7>\n\n";
    EXPECT_EQ(
        EndIn(closed + "no piece\n<9>\n" + kStamp + ", ...\n" + std::string(200, 'x'), true, true),
        2 + closed.size());
}

class LargePieces : public ShipperTest {
  protected:
    LargePieces() { kept_.takesGaps = true; }

    // One of the size in front of the last record.
    void WriteFileWithLargeRecord(size_t size = kLargeSize) const {
        std::ofstream file(LogPath(), std::ios::binary);
        file << Text().substr(0, LargeAt()) << kStamp << ',';
        const std::string part(size_t{1} << 16, 'x');
        for (size_t left = size - kStamp.size() - 2; left > 0;) {
            const size_t length = std::min(left, part.size());
            file.write(part.data(), static_cast<std::streamsize>(length));
            left -= length;
        }
        file << '\n' << Text().substr(LargeAt());
    }

    // By all calls of this program that read.
    static int64_t BytesRead() {
        return std::stoll(ReadLines("/proc/self/io").front().substr(std::string("rchar: ").size()));
    }

    static size_t LargeAt() { return Text().find("2026-03-05T14:07:11"); }
    static constexpr size_t kLargeSize = kLargestPiece + 1;
};

TEST_F(LargePieces, AreReportedAndLeftOut) {
    WriteFileWithLargeRecord();
    for (int i = 0; i < 2; ++i) {
        const CapturedOutput errors(STDERR_FILENO);
        EXPECT_FALSE(Ship());
        EXPECT_THAT(
            errors.Text(),
            HasSubstr(LogPath() + ": the record at byte " + std::to_string(LargeAt()) + " has " +
                      std::to_string(kLargeSize) + " bytes, more than 67108864: it is not sent\n"));
        ASSERT_EQ(kept_.files.size(), 1U);
        const Kept::File& file = kept_.files[0];
        EXPECT_EQ(file.bytes.substr(0, LargeAt()), Text().substr(0, LargeAt()));
        EXPECT_EQ(file.bytes.substr(LargeAt() + kLargeSize), Text().substr(LargeAt()));
        EXPECT_EQ(file.gap, LargeAt());
        EXPECT_FALSE(file.isComplete);
        EXPECT_THAT(kept_.states.back().problem, HasSubstr("it is not sent"));
    }
}

TEST_F(LargePieces, CountAsLostWhenTheirFileIsRemoved) {
    WriteFileWithLargeRecord();
    ShipSettings settings = Settings({Path()});
    settings.once = false;
    Shipper shipper = MakeShipper(settings);
    kept_.whenSent = [&] {
        if (kept_.files[0].gap) {
            std::filesystem::remove(LogPath());
        }
    };
    kept_.whenGone = [&] { shipper.Stop(); };
    EXPECT_FALSE(shipper.Run());
    EXPECT_TRUE(kept_.files[0].hasGone);
    EXPECT_EQ(kept_.files[0].lost, kLargeSize);
    EXPECT_EQ(kept_.states.back().problem, "");
}

TEST_F(LargePieces, AreToldApartFromTheEndWhenTheirFileIsRemovedUnseen) {
    WriteFileWithLargeRecord();
    EXPECT_FALSE(Ship());
    std::filesystem::remove(LogPath());
    const CapturedOutput errors(STDERR_FILENO);
    EXPECT_FALSE(Ship());
    EXPECT_THAT(errors.Text(),
                HasSubstr("something is missing from byte " + std::to_string(LargeAt()) +
                          " on, and what is known of it ends at byte " +
                          std::to_string(Text().size() + kLargeSize) + "\n"));
}

// Leaving a piece out is no success of the target.
TEST_F(LargePieces, DoNotHideThatTheTargetRefusesWhatFollows) {
    WriteFileWithLargeRecord();
    EXPECT_FALSE(Ship());
    kept_.refusals = 1;
    EXPECT_THROW(Ship(), TargetError);
}

TEST_F(LargePieces, StayLeftOutWhenANewTargetGoesOnBehindThem) {
    WriteFileWithLargeRecord();
    kept_.resumesBehindGaps = true;
    bool hasFailed = false;
    kept_.whenSent = [&] {
        if (kept_.files[0].gap && !std::exchange(hasFailed, true)) {
            throw TargetError("the target is away", true);
        }
    };
    EXPECT_FALSE(Ship());
    EXPECT_TRUE(hasFailed);
    EXPECT_FALSE(kept_.files[0].isComplete);
}

TEST_F(LargePieces, TakeNothingAlongThatStandsBehindATornOne) {
    const std::string torn = "<1>\n" + kStamp + ", ...\n" + std::string(kLargestPiece, 'x');
    const std::string behind = "<3>\n" + kStamp + ", ...\n Detail: whole\n</3>\n\n";
    WriteFile(LogPath(), torn + behind);
    EXPECT_FALSE(Ship());
    ASSERT_EQ(kept_.files.size(), 1U);
    EXPECT_EQ(kept_.files[0].bytes.size(), torn.size() + behind.size());
    EXPECT_EQ(kept_.files[0].bytes.substr(torn.size()), behind);
}

TEST_F(LargePieces, AreNotReadAnewAtEachLookWhileTheyGrow) {
    WriteFile(LogPath(), "<1>\n" + kStamp + ", ...\n" + std::string(kLargestPiece, 'x'));
    ShippedFile file(LogPath());
    FilePart part;
    constexpr int looks = 8;
    const int64_t before = BytesRead();
    for (int i = 0; i < looks; ++i) {
        std::ofstream(LogPath(), std::ios::app) << 'x';
        EXPECT_TRUE(file.Look(ShippedFile::Clock::now()));
        EXPECT_FALSE(file.ReadPart(1, part));
    }
    // One look reads it twice.
    EXPECT_LT(BytesRead() - before, int64_t{looks} * kLargestPiece);
}

TEST_F(LargePieces, AreSentUpToTheLimit) {
    WriteFileWithLargeRecord(kLargestPiece);
    EXPECT_TRUE(Ship());
    EXPECT_TRUE(kept_.files[0].bytes == ReadFile(LogPath()));
    EXPECT_TRUE(kept_.files[0].isComplete);
}

}  // namespace
