// Takes a log file apart into what was written to it, and objects to every byte that does not
// belong to a whole piece.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace NS_TEST {

// What a record shows in a file.
struct ParsedRecord {
    std::string stamp;
    std::string context;
    std::string thread;
    int level = 0;
    std::string file;
    std::string function;
    std::string line;  // a number
    std::string detail;
};

// One whole piece of a file.
struct ParsedPiece {
    enum Kind { FILE_CREATED, FILE_CLOSED, RECORD, SHORT_RECORD, DUMP };

    Kind kind = RECORD;
    uint64_t number = 0;  // of a record or a dump
    ParsedRecord record;  // of a short one stamp, level and detail; of a line the stamp
    std::vector<ParsedRecord> dumped;  // what stands inside a dump
};

// The pieces of a text that consists of whole pieces; throws std::runtime_error, with the place,
// when it does not. Details may hold newlines, but none of the texts that end a piece.
std::vector<ParsedPiece> ParseLogText(const std::string& text);

// The pieces of the file at `path`. Throws std::runtime_error when anything is torn.
std::vector<ParsedPiece> ParseLogPieces(const std::string& path);

// A file whose writer may have died in the middle of a piece: what stands there whole, and what
// follows.
struct TornLogFile {
    std::vector<ParsedPiece> pieces;
    std::string rest;
};
TornLogFile ReadTornLogFile(const std::string& path);

// The records of a file that was closed, short ones and dumps among them. Throws also when the file
// does not begin with the line about its creation and end with the one about its end, or holds
// another one in between.
std::vector<ParsedPiece> ParseClosedLogFile(const std::string& path);

// The pieces of all log files in `directory`, the files in the order of their names.
std::vector<ParsedPiece> ParseLogDirectory(const std::string& directory);

// The pieces of one kind.
std::vector<ParsedPiece> OfKind(const std::vector<ParsedPiece>& pieces, ParsedPiece::Kind kind);

// Whether a time stamp stands at `position` of the text.
bool IsStampAt(const std::string& text, size_t position);

// The length of a time stamp.
constexpr size_t kStampSize = 32;

}  // namespace NS_TEST
