// The fixed texts of log files, and where a piece can begin.
#pragma once

#include <cstddef>
#include <string_view>

namespace NS_LOG_READER {

constexpr std::string_view kDumpBegin =
    "*********** Dump filtered debug information begin **********\n";
constexpr std::string_view kDumpEnd =
    "*********** Dump filtered debug information end **********\n";
constexpr std::string_view kFileCreated = "File create at ";
constexpr std::string_view kFileClosed = "\nFile close at ";

// A piece is recognised by this many bytes at most.
constexpr size_t kPieceStartSize = 96;

// The length of "<N>\n" at the beginning of the text, with the digits in `digits`; 0: there is
// none.
size_t OpeningTagLength(std::string_view text, std::string_view& digits);

// Whether the text begins with an opening tag, and a time stamp on the line below it.
bool BeginsFrame(std::string_view text);

// Whether a frame surely begins at `at`: right after the end of the frame with the next lower
// number, and a blank line. Only a detail that quotes two whole frames in a row looks like it.
bool IsFrameBoundary(std::string_view text, size_t at);

// The last such place after `begin` and before `end`; npos: there is none.
size_t FindLastFrameBoundary(std::string_view text, size_t begin, size_t end);

// Whether a piece can begin with the text. `isRest`: the file ends with the text, so that also a
// piece that was cut short by a kill or a full disk counts, and the end itself.
bool BeginsPiece(std::string_view text, bool isRest);

}  // namespace NS_LOG_READER
