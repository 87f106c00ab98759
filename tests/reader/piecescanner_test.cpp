#include "input/piecescanner.h"

#include <gtest/gtest.h>

#include "reader/logtext.h"
#include "reader/scanfile.h"

namespace {

using namespace NS_LOG_READER;
using namespace NS_TEST;

LogFields Detail(const std::string& detail) {
    LogFields fields;
    fields.detail = detail;
    return fields;
}

struct SplitCase {
    const char* name;
    std::string text;
    const char* letters;
};

std::vector<SplitCase> SplitCases() {
    const std::string next = LogFrame(6);
    const std::string frame = LogFrame(5);
    return {
        {"nothing", "", ""},
        {"a whole file", CreatedText() + frame + next + ClosedText(), "cFFx"},
        {"a moved file", CreatedText() + CreatedText() + frame + ClosedText() + next, "ccFxF"},
        {"short records", ShortText(1, "a") + frame + ShortText(2, " b, c") + ClosedText(), "SFSx"},
        {"a short record of several lines", ShortText(1, "a\n\nb\n<x>") + next, "SF"},
        {"a blank line at a short record's end", ShortText(1, "a\n") + ClosedText(), "Sx"},
        {"blank lines in a detail", LogFrame(5, Detail("a\n\n\nb\n")) + next, "FF"},
        {"another frame's end in a detail", LogFrame(5, Detail("a\n</4>\n\nb")) + next, "FF"},
        {"its own end in a detail", LogFrame(5, Detail("a\n</5>\n\nb")) + next, "FF"},
        {"a whole frame in a detail", LogFrame(5, Detail(LogFrame(9))) + next, "FF"},
        {"a mark in a detail", LogFrame(5, Detail("a" + ClosedText() + "b")) + next, "FF"},
        {"a frame whose end is missing", frame.substr(0, frame.size() - 8) + next, "TF"},
        {"a frame that breaks off in its time", frame.substr(0, 30) + next + next, "GFF"},
        {"a torn frame before the end of the file", frame.substr(0, 80) + ClosedText(), "Tx"},
        {"a torn dump", LogDump(5, Detail("a"), DumpedText({})).substr(0, 300) + next, "TF"},
        {"a torn tail", next + frame.substr(0, frame.size() - 4), "FT"},
        {"a tail torn in its tag", next + "<5", "FT"},
        {"a tail torn in its time", next + "<5>\n2026-03", "FT"},
        {"a torn short record", next + LogStamp(3) + ",ab", "FT"},
        {"a torn mark", next + "\nFile close at 2026", "FT"},
        {"zeros behind a frame", frame + std::string(300, '\0'), "FG"},
        {"zeros between frames", frame + std::string(99, '\0') + next, "FGF"},
        {"bytes before the first frame", "half a line\n" + frame + next, "GFF"},
        {"something else", "total 12\ndrwxr-x\n", "G"},
        {"a damaged opening", frame + "<x>" + next.substr(3) + LogFrame(7), "FGSF"},
        {"a mark with a broken time", frame + "\nFile close at noon.\n" + next, "FGF"},
        {"a number of 32 bits", LogFrame(4294967295U) + LogFrame(0), "FF"},
        {"a number of more", "<42949672950>\n" + frame, "GF"},
    };
}

TEST(PieceScanner, SplitsAFileIntoPiecesWithoutLosingAByte) {
    for (const SplitCase& split : SplitCases()) {
        SCOPED_TRACE(split.name);
        EXPECT_EQ(PieceLetters(split.text), split.letters);
        EXPECT_EQ(PieceLetters(split.text, 7), split.letters);
    }
}

TEST(PieceScanner, SplitsFramesLargerThanItsBlock) {
    const std::string large = LogFrame(2, Detail(std::string(3 * PieceScanner::kBlockSize, '<')));
    EXPECT_EQ(PieceLetters(LogFrame(1) + large + LogFrame(3)), "FFF");
    EXPECT_EQ(PieceLetters(LogFrame(1) + large.substr(0, large.size() - 9) + LogFrame(3)), "FTF");
}

TEST(PieceScanner, SplitsAtEveryPlaceOfABlockAlike) {
    const std::string tail = LogFrame(2) + ShortText(1, "x") + ClosedText();
    for (size_t padding = 0; padding < 400; padding += 3) {
        const size_t size = PieceScanner::kBlockSize - LogFrame(1).size() - padding;
        ASSERT_EQ(PieceLetters(LogFrame(1, Detail(std::string(size, 'x'))) + tail), "FFSx");
    }
}

TEST(PieceScanner, TellsWhichPiecesHoldALiteral) {
    const LiteralFinder finder("needle");
    TextSource source(LogFrame(1) + LogFrame(2, Detail("a needle")) + LogFrame(3) +
                      ShortText(4, "needle"));
    PieceScanner scanner(source);
    scanner.LookFor(&finder, false);
    Piece piece;
    std::string found;
    while (scanner.Next(piece)) {
        found += piece.mayMatch ? '+' : '-';
    }
    EXPECT_EQ(found, "-+-+");
}

TEST(PieceScanner, FindsAllHitsWhenItLeaps) {
    const LiteralFinder finder("needle");
    std::string text = CreatedText();
    std::string expected;
    for (uint32_t i = 1; i < 9000; ++i) {
        const bool isHit = i % 1000 < 2 || i % 777 == 0;
        text += LogFrame(i, Detail(std::string(i % 300, '<') + (isHit ? "needle" : "straw")));
        text += i % 50 == 0 ? ShortText(1, i % 1500 == 0 ? "needle" : "straw") : "";
        expected += isHit ? std::to_string(i) + " " : "";
        expected += i % 1500 == 0 ? "0 " : "";
    }
    for (const size_t step : {size_t{1} << 20, size_t{5000}}) {
        TextSource source(text + LogFrame(9000).substr(0, 99), step);
        PieceScanner scanner(source);
        scanner.LookFor(&finder, true);
        Piece piece;
        std::string found;
        int pieces = 0;
        while (scanner.Next(piece)) {
            found += piece.mayMatch ? std::to_string(piece.number) + " " : "";
            ++pieces;
        }
        EXPECT_EQ(found, expected);
        EXPECT_LT(pieces, 4000);
        EXPECT_EQ(piece.kind, PieceKind::Torn);
    }
}

TEST(PieceScanner, IsNotHeldUpByManyTornFrames) {
    std::string text;
    for (uint32_t i = 1; i <= 100000; ++i) {
        text += LogFrame(i).substr(0, 60) + "\n";
    }
    EXPECT_EQ(PieceLetters(text), std::string(100000, 'T'));
}

TEST(PieceScanner, WaitsForTheEndOfWhatIsBeingWritten) {
    const std::string second = LogFrame(2);
    TextSource source(LogFrame(1) + second.substr(0, 90));
    PieceScanner scanner(source);
    scanner.ExpectGrowth();
    Piece piece;
    ASSERT_TRUE(scanner.Next(piece));
    EXPECT_FALSE(scanner.Next(piece));
    source.Append(second.substr(90) + LogFrame(3).substr(0, 3));
    ASSERT_TRUE(scanner.Next(piece));
    EXPECT_EQ(piece.bytes, second);
    EXPECT_FALSE(scanner.Next(piece));
    source.Append(LogFrame(3).substr(3));
    ASSERT_TRUE(scanner.Next(piece));
    EXPECT_EQ(piece.number, 3U);
}

TEST(PieceScanner, DoesNotWaitForATornFrameThatOthersFollow) {
    TextSource source(LogFrame(1).substr(0, 90) + LogFrame(2));
    PieceScanner scanner(source);
    scanner.ExpectGrowth();
    Piece piece;
    ASSERT_TRUE(scanner.Next(piece));
    EXPECT_EQ(piece.kind, PieceKind::Torn);
    ASSERT_TRUE(scanner.Next(piece));
    EXPECT_EQ(piece.number, 2U);
}

}  // namespace
