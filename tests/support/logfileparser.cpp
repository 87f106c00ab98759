// Takes a log file apart into what was written to it.
#include "support/logfileparser.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "support/files.h"

namespace NS_TEST {

namespace {

const std::string kDumpBegin = "\n*********** Dump filtered debug information begin **********\n";
const std::string kDumpEnd = "*********** Dump filtered debug information end **********";

// Reads the pieces of one text from its front to its end, looking at no byte more often than a
// fixed number of times.
//
// Thread safety: one thread.
class Parser {
  public:
    explicit Parser(const std::string& text) : text_(text) {}

    std::vector<ParsedPiece> Pieces() {
        std::vector<ParsedPiece> pieces;
        while (position_ < text_.size()) {
            pieces.push_back(Next());
        }
        return pieces;
    }

  private:
    ParsedPiece Next() {
        ParsedPiece piece;
        const bool created = Skip("File create at ");
        if (created || Skip("\nFile close at ")) {
            piece.kind = created ? ParsedPiece::FILE_CREATED : ParsedPiece::FILE_CLOSED;
            piece.record.stamp = Stamp();
            Expect(".\n");
        } else if (Skip("<")) {
            ReadNumbered(piece);
        } else {
            piece.kind = ParsedPiece::SHORT_RECORD;
            piece.record.level = -2;
            piece.record.stamp = Stamp();
            Expect(",");
            piece.record.detail = Until("\n");
        }
        return piece;
    }

    void ReadNumbered(ParsedPiece& piece) {
        const std::string number = Until(">\n");
        piece.number = Number<uint64_t>(number);
        piece.record = Heading("\n Detail: ");
        const std::string end = "\n</" + number + ">\n\n";
        const size_t endAt = Find(end);
        if (!BeginsBefore(endAt, kDumpBegin)) {
            piece.kind = ParsedPiece::RECORD;
            piece.record.detail = Until(end);
            return;
        }
        piece.kind = ParsedPiece::DUMP;
        piece.record.detail = Until(kDumpBegin);
        while (!Skip(kDumpEnd)) {
            piece.dumped.push_back(Heading("\n Detail : "));
            piece.dumped.back().detail = DumpedDetail();
        }
        if (position_ != endAt) {
            Fail("the first '" + end + "' of the dump");
        }
        Expect(end);
    }

    // The text of a dumped record: up to the next line that begins another one, or the dump's end.
    std::string DumpedDetail() {
        std::string detail = Until("\n");
        while (!IsStampAt(text_, position_) && !IsHere(kDumpEnd)) {
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
        record.level = Number<int>(Until(", File: "));
        record.file = Until(" Func:");
        record.function = Until(" Line:");
        record.line = Until(detailLabel);
        Number<uint64_t>(record.line);
        return record;
    }

    // The value of a number that is written as numbers are printed.
    template <class Value>
    Value Number(const std::string& text) const {
        Value value = 0;
        std::from_chars(text.data(), text.data() + text.size(), value);
        if (std::to_string(value) != text) {
            Fail("a number in front, not '" + text.substr(0, 80) + "'");
        }
        return value;
    }

    std::string Stamp() {
        if (!IsStampAt(text_, position_)) {
            Fail("a time stamp");
        }
        position_ += kStampSize;
        return text_.substr(position_ - kStampSize, kStampSize);
    }

    bool IsHere(const std::string& expected) const {
        return text_.compare(position_, expected.size(), expected) == 0;
    }

    bool Skip(const std::string& expected) {
        if (!IsHere(expected)) {
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

    // Where `mark` stands next.
    size_t Find(const std::string& mark) const {
        const size_t found = text_.find(mark, position_);
        if (found == std::string::npos) {
            Fail("'" + mark + "' further on");
        }
        return found;
    }

    // Whether `mark` begins in front of `end`. Does not look beyond: the next one may be far away.
    bool BeginsBefore(size_t end, const std::string& mark) const {
        const std::string_view rest = std::string_view(text_).substr(position_);
        return rest.substr(0, end - position_ + mark.size() - 1).find(mark) != rest.npos;
    }

    // What stands in front of `mark`; skips both.
    std::string Until(const std::string& mark) {
        const size_t found = Find(mark);
        std::string result = text_.substr(position_, found - position_);
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

}  // namespace

bool IsStampAt(const std::string& text, size_t position) {
    static const std::string kShape = "0000-00-00T00:00:00.000000+00:00";
    if (position + kStampSize > text.size()) {
        return false;
    }
    return std::equal(kShape.begin(), kShape.end(), text.data() + position, [](char shape, char c) {
        return shape == '0' ? c >= '0' && c <= '9' : c == shape || (shape == '+' && c == '-');
    });
}

std::vector<ParsedPiece> ParseLogText(const std::string& text) {
    return Parser(text).Pieces();
}

std::vector<ParsedPiece> ParseLogPieces(const std::string& path) {
    const std::string text = ReadFile(path);
    try {
        return ParseLogText(text);
    } catch (const std::exception& error) {
        throw std::runtime_error(path + ": " + error.what());
    }
}

TornLogFile ReadTornLogFile(const std::string& path) {
    const std::string bytes = ReadFile(path);
    // Pieces end with an empty line, but for the first one, which is one line.
    std::vector<size_t> ends{0, bytes.find('\n') + 1};
    for (size_t at = bytes.find(">\n\n"); at != std::string::npos;
         at = bytes.find(">\n\n", at + 1)) {
        ends.push_back(at + 3);
    }
    const size_t whole = ends.back();
    return {ParseLogText(bytes.substr(0, whole)), bytes.substr(whole)};
}

std::vector<ParsedPiece> ParseClosedLogFile(const std::string& path) {
    std::vector<ParsedPiece> pieces = ParseLogPieces(path);
    if (pieces.empty() || pieces.front().kind != ParsedPiece::FILE_CREATED) {
        throw std::runtime_error(path + ": the line about its creation is not the first piece");
    }
    if (pieces.back().kind != ParsedPiece::FILE_CLOSED) {
        throw std::runtime_error(path + ": the line about its end is not the last piece");
    }
    pieces.erase(pieces.begin());
    pieces.pop_back();
    if (!OfKind(pieces, ParsedPiece::FILE_CREATED).empty() ||
        !OfKind(pieces, ParsedPiece::FILE_CLOSED).empty()) {
        throw std::runtime_error(path + ": begins or ends once more in between");
    }
    return pieces;
}

std::vector<ParsedPiece> ParseLogDirectory(const std::string& directory) {
    std::vector<ParsedPiece> pieces;
    for (const std::string& name : ListFiles(directory)) {
        std::vector<ParsedPiece> more = ParseLogPieces(directory + "/" + name);
        std::move(more.begin(), more.end(), std::back_inserter(pieces));
    }
    return pieces;
}

std::vector<ParsedPiece> OfKind(const std::vector<ParsedPiece>& pieces, ParsedPiece::Kind kind) {
    std::vector<ParsedPiece> result;
    std::copy_if(pieces.begin(), pieces.end(), std::back_inserter(result),
                 [kind](const ParsedPiece& piece) { return piece.kind == kind; });
    return result;
}

}  // namespace NS_TEST
