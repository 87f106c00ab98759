#include "command/verification.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "format/framing.h"
#include "format/recordparser.h"
#include "input/boundary.h"
#include "input/bytesource.h"
#include "input/filedescriptor.h"
#include "input/filewriter.h"
#include "input/piecescanner.h"
#include "query/seriesstream.h"

namespace NS_LOG_READER {
namespace {

void ReadFile(const LogFile& file, bool mayBeWritten, Verifier& verifier) {
    const std::unique_ptr<ByteSource> source = OpenFile(file.name.path);
    PieceScanner scanner(*source);
    if (mayBeWritten) {
        // What has no end yet is not torn.
        scanner.ExpectGrowth();
    }
    Piece piece;
    while (scanner.Next(piece)) {
        verifier.Take(piece);
    }
    if (!scanner.Error().empty()) {
        verifier.NoteUnreadable(scanner.Offset(), scanner.Error());
    }
    verifier.EndFile(scanner.Offset(), mayBeWritten);
}

// A process may have the number of one that was killed: it says little alone.
bool IsBeingWritten(const LogFile& file) {
    const FileDescriptor descriptor(
        ::open(file.name.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    return !file.isCompressed && descriptor.IsOpen() && ::fstat(descriptor.Get(), &status) == 0 &&
           !HasWriterEnded(descriptor.Get(), file.name.process,
                           int64_t{status.st_mtim.tv_sec} * kMicrosPerSecond);
}

}  // namespace

uint64_t Verification::Problems() const {
    return static_cast<uint64_t>(
        std::count_if(findings.begin(), findings.end(),
                      [](const Finding& finding) { return finding.isProblem; }));
}

void Verifier::BeginFile(const LogFile& file) {
    file_ = &file;
    isFirstFrame_ = true;
    hasRecords_ = false;
    hasDisorder_ = false;
    lastTime_ = 0;
    last_ = PieceKind::Garbage;
}

void Verifier::Note(uint64_t offset, const std::string& text, bool isProblem) {
    result_.findings.push_back({file_->name.path, offset, text, isProblem});
}

void Verifier::NoteUnreadable(uint64_t offset, const std::string& text) {
    result_.couldBeRead = false;
    Note(offset, text, true);
}

void Verifier::EndFile(uint64_t size, bool isWritten) {
    result_.bytes += size;
    if (size == 0 && !isWritten) {
        Note(0, "the file is empty", true);
        return;
    }
    if (!hasRecords_) {
        Note(0, "the file holds no record", false);
    }
    if (last_ != PieceKind::Closed) {
        Note(size, isWritten ? "the file is being written" : "the file has no end", !isWritten);
    }
}

void Verifier::Take(const Piece& piece) {
    if (piece.offset == 0 && piece.kind != PieceKind::Created) {
        Note(0, "the beginning of the file is missing", true);
    }
    last_ = piece.kind;
    const std::string problem = DescribeProblem(piece);
    if (!problem.empty()) {
        ++result_.torn;
        Note(piece.offset, problem, true);
    }
    if (piece.kind == PieceKind::Closed) {
        ParseStamp(piece.bytes.substr(kFileClosed.size()), closed_);
    } else if (piece.kind == PieceKind::Created) {
        ParseStamp(piece.bytes.substr(kFileCreated.size()), created_);
    } else if (ParseRecord(piece, record_)) {
        TakeRecord(piece);
    }
}

void Verifier::TakeRecord(const Piece& piece) {
    hasRecords_ = true;
    if (result_.firstStamp.empty()) {
        result_.firstStamp = record_.stamp;
    }
    CheckOrder();
    if (record_.kind == RecordKind::Short) {
        ++result_.shortRecords;
        ++expected_;
        return;
    }
    CheckNumber(piece);
    result_.frames += 1;
    Record inner;
    DumpedRecords dumped(piece, record_);
    while (dumped.Next(inner)) {
        ++result_.dumped;
    }
}

// Queued records may overtake each other by a little; more means that the clock was set.
void Verifier::CheckOrder() {
    if (record_.time < lastTime_) {
        ++result_.outOfOrder;
        if (record_.time < lastTime_ - kDisorder && !hasDisorder_) {
            Note(record_.offset, "the time goes back to " + std::string(record_.stamp), true);
            hasDisorder_ = true;
        }
    } else {
        result_.lastStamp = record_.stamp;
    }
    lastTime_ = std::max(lastTime_, record_.time);
}

void Verifier::CheckNumber(const Piece& piece) {
    const uint32_t missing = piece.number - expected_;
    if (result_.frames == 0 && missing != 0) {
        Note(piece.offset,
             "begins with number " + std::to_string(piece.number) + ": older files are gone",
             false);
    } else if (static_cast<int32_t>(missing) > 0) {
        result_.missing += missing;
        Note(piece.offset, DescribeGap(piece.number, missing), true);
    } else if (missing != 0) {
        Note(piece.offset,
             "number " + std::to_string(piece.number) + " comes behind " +
                 std::to_string(expected_ - 1),
             true);
    }
    expected_ = piece.number + 1;
    isFirstFrame_ = false;
}

std::string Verifier::DescribeGap(uint32_t number, uint32_t missing) const {
    std::string text = missing == 1 ? "record " + std::to_string(expected_) + " is missing"
                                    : "records " + std::to_string(expected_) + " to " +
                                          std::to_string(number - 1) + " are missing";
    if (isFirstFrame_) {
        // Nothing else can have been written between the two within one second.
        const bool isSameSecond = closed_ / kMicrosPerSecond == created_ / kMicrosPerSecond;
        text += isSameSecond ? ": the file was overwritten within its second"
                             : ": a file before this one is gone";
    }
    return text;
}

Verification VerifyFiles(const Series& series) {
    Verifier verifier;
    for (const LogFile& file : series.files) {
        const bool mayBeWritten = &file == &series.files.back() && IsBeingWritten(file);
        verifier.BeginFile(file);
        try {
            ReadFile(file, mayBeWritten, verifier);
        } catch (const ReadError& error) {
            verifier.NoteUnreadable(0, error.what());
        }
    }
    return verifier.Result();
}

bool IsAlive(int64_t process) {
    return process > 0 && (::kill(static_cast<pid_t>(process), 0) == 0 || errno == EPERM);
}

}  // namespace NS_LOG_READER
