// Takes a log file apart into what was written to it, and objects to every byte that does not
// belong to a whole piece.
#pragma once

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/files.h"

namespace NS_TEST {

// What a record shows in a file.
struct ParsedRecord {
    std::string stamp;
    std::string context;
    std::string thread;
    int level = 0;
    std::string file;
    std::string function;
    std::string line;
    std::string detail;
};

// One whole piece of a file.
struct ParsedPiece {
    enum Kind { FILE_CREATED, FILE_CLOSED, RECORD, SHORT_RECORD, DUMP };

    Kind kind = RECORD;
    uint64_t number = 0;               // of a record or a dump
    ParsedRecord record;               // of the other pieces: the stamp, of a short one the detail
    std::vector<ParsedRecord> dumped;  // what stands inside a dump
    size_t begin = 0;                  // where the piece begins in the text
    size_t size = 0;
};

// Reads the pieces of one text from its front to its end.
//
// Details may hold newlines, but none of the texts that end a piece. One thread.
class LogTextParser {
  public:
    explicit LogTextParser(const std::string& text) : text_(text) {}

    // All pieces. Throws std::runtime_error, with the place, for whatever is torn.
    std::vector<ParsedPiece> Pieces() {
        std::vector<ParsedPiece> pieces;
        while (position_ < text_.size()) {
            const size_t begin = position_;
            pieces.push_back(Next());
            pieces.back().begin = begin;
            pieces.back().size = position_ - begin;
        }
        return pieces;
    }

  private:
    static constexpr size_t kStampSize = 32;

    ParsedPiece Next() {
        ParsedPiece piece;
        if (Skip("File create at ")) {
            piece.kind = ParsedPiece::FILE_CREATED;
            piece.record.stamp = Stamp();
            Expect(".\n");
        } else if (Skip("\nFile close at ")) {
            piece.kind = ParsedPiece::FILE_CLOSED;
            piece.record.stamp = Stamp();
            Expect(".\n");
        } else if (Skip("<")) {
            ReadNumbered(piece);
        } else {
            piece.kind = ParsedPiece::SHORT_RECORD;
            piece.record.stamp = Stamp();
            Expect(",");
            piece.record.detail = Until("\n");
        }
        return piece;
    }

    void ReadNumbered(ParsedPiece& piece) {
        const std::string number = Until(">\n");
        piece.number = std::stoull(number);
        if (std::to_string(piece.number) != number) {
            Fail("a number");
        }
        piece.record = Heading("\n Detail: ");
        const std::string end = "\n</" + number + ">\n\n";
        const std::string opening =
            "\n*********** Dump filtered debug information begin **********\n";
        const size_t endAt = text_.find(end, position_);
        const size_t openingAt = text_.find(opening, position_);
        if (openingAt >= endAt) {
            piece.kind = ParsedPiece::RECORD;
            piece.record.detail = Until(end);
            return;
        }
        piece.kind = ParsedPiece::DUMP;
        piece.record.detail = Until(opening);
        const std::string closing = "*********** Dump filtered debug information end **********";
        while (!Skip(closing)) {
            piece.dumped.push_back(Heading("\n Detail : "));
            piece.dumped.back().detail = DumpedDetail(closing);
        }
        Expect(end);
    }

    // The text of a dumped record: up to the next line that begins another one, or the closing.
    std::string DumpedDetail(const std::string& closing) {
        std::string detail = Until("\n");
        while (!IsStampAt(position_) && text_.compare(position_, closing.size(), closing) != 0) {
            detail += "\n" + Until("\n");
        }
        return detail;
    }

    ParsedRecord Heading(const std::string& detailLabel) {
        ParsedRecord record;
        record.stamp = Stamp();
        Expect(", ");
        record.context = Until(", T:");
        record.thread = Until(", DL:");
        record.level = std::stoi(Until(", File: "));
        record.file = Until(" Func:");
        record.function = Until(" Line:");
        record.line = Until(detailLabel);
        if (record.line.find('\n') != std::string::npos) {
            Fail("'" + detailLabel + "'");
        }
        return record;
    }

    bool IsStampAt(size_t position) const {
        static const std::string kShape = "0000-00-00T00:00:00.000000+00:00";
        if (position + kStampSize > text_.size()) {
            return false;
        }
        for (size_t i = 0; i < kStampSize; ++i) {
            const char c = text_[position + i];
            const bool digit = std::isdigit(static_cast<unsigned char>(c)) != 0;
            if (kShape[i] == '0' ? !digit : c != kShape[i] && !(kShape[i] == '+' && c == '-')) {
                return false;
            }
        }
        return true;
    }

    std::string Stamp() {
        if (!IsStampAt(position_)) {
            Fail("a time stamp");
        }
        position_ += kStampSize;
        return text_.substr(position_ - kStampSize, kStampSize);
    }

    bool Skip(const std::string& expected) {
        if (text_.compare(position_, expected.size(), expected) != 0) {
            return false;
        }
        position_ += expected.size();
        return true;
    }

    void Expect(const std::string& expected) {
        if (!Skip(expected)) {
            Fail("'" + expected + "'");
        }
    }

    // What stands in front of `mark`; skips both.
    std::string Until(const std::string& mark) {
        const size_t found = text_.find(mark, position_);
        if (found == std::string::npos) {
            Fail("'" + mark + "' further on");
        }
        const std::string result = text_.substr(position_, found - position_);
        position_ = found + mark.size();
        return result;
    }

    [[noreturn]] void Fail(const std::string& expected) const {
        throw std::runtime_error("byte " + std::to_string(position_) + ": expected " + expected +
                                 ", found '" + text_.substr(position_, 80) + "'");
    }

    const std::string& text_;
    size_t position_ = 0;
};

// The pieces of a text that consists of whole pieces; throws std::runtime_error when it does not.
inline std::vector<ParsedPiece> ParseLogText(const std::string& text) {
    return LogTextParser(text).Pieces();
}

// The pieces of the file at `path`. Throws std::runtime_error when anything is torn.
inline std::vector<ParsedPiece> ParseLogPieces(const std::string& path) {
    const std::string text = ReadFile(path);
    try {
        return ParseLogText(text);
    } catch (const std::exception& error) {
        throw std::runtime_error(path + ": " + error.what());
    }
}

// The pieces of all log files in `directory`, the files in the order of their names.
inline std::vector<ParsedPiece> ParseLogDirectory(const std::string& directory) {
    std::vector<ParsedPiece> pieces;
    for (const std::string& name : ListFiles(directory)) {
        for (ParsedPiece& piece : ParseLogPieces(directory + "/" + name)) {
            pieces.push_back(std::move(piece));
        }
    }
    return pieces;
}

// The pieces of one kind.
inline std::vector<ParsedPiece> OfKind(const std::vector<ParsedPiece>& pieces,
                                       ParsedPiece::Kind kind) {
    std::vector<ParsedPiece> result;
    for (const ParsedPiece& piece : pieces) {
        if (piece.kind == kind) {
            result.push_back(piece);
        }
    }
    return result;
}

}  // namespace NS_TEST
