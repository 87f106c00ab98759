// What a log file holds, as a reader sees it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "format/stamp.h"

namespace NS_LOG_READER {

// Where a record stands: one file of a series.
struct LogFileName {
    std::string path;
    std::string category;
    int64_t process = 0;    // 0: the file's name does not tell
    std::string host = {};  // empty: this one
};

// A piece is what the service writes at once. The pieces of a file follow each other without gaps.
enum class PieceKind : uint8_t {
    Frame,    // <N> ... </N>, dumps among them
    Short,    // a line with a time and a text, of a record of level -2
    Created,  // "File create at ..."
    Closed,   // "File close at ..."
    Torn,     // the beginning of a frame or a line whose end is missing
    Garbage   // bytes that belong to nothing
};

struct Piece {
    PieceKind kind = PieceKind::Garbage;
    bool mayMatch = true;    // false: the scanner's literal does not occur in it
    uint32_t number = 0;     // of a frame, and of a torn one
    uint64_t offset = 0;     // in the file
    std::string_view bytes;  // good until the scanner moves on
};

enum class RecordKind : uint8_t {
    Record,  // in a frame of its own
    Dump,    // the record that heads a dump
    Dumped,  // kept back first, then written inside a dump
    Short    // level -2
};

constexpr int32_t kShortLevel = -2;

// A value; its texts are as they stand in the file and live as long as the piece.
struct Record {
    RecordKind kind = RecordKind::Record;
    bool torn = false;
    int32_t level = 0;
    uint32_t number = 0;  // of the frame that it stands in; 0: a short record
    Time time = 0;
    int64_t operationThread = 0;  // "TopT"
    int64_t thread = 0;
    uint32_t line = 0;
    std::string_view stamp;
    std::string_view operation;
    std::string_view interface;
    std::string_view user;
    std::string_view file;
    std::string_view function;
    std::string_view detail;
    std::string_view text;   // from the stamp to the end of the detail: what patterns look at
    std::string_view bytes;  // all of it: a dump's record has the whole frame
    uint64_t offset = 0;     // of `bytes` in the file
    const LogFileName* origin = nullptr;
};

}  // namespace NS_LOG_READER
