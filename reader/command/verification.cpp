#include "command/verification.h"

#include <signal.h>

#include <algorithm>
#include <cerrno>

#include "format/framing.h"
#include "format/recordparser.h"
#include "input/boundary.h"
#include "input/bytesource.h"
#include "input/piecescanner.h"
#include "query/seriesstream.h"

namespace NS_LOG_READER {
namespace {

// Goes through the files of a series, one after the other.
class Verifier {
  public:
    explicit Verifier(const Series& series) : series_(series) {}

    Verification Run() {
        for (size_t i = 0; i < series_.files.size(); ++i) {
            file_ = &series_.files[i];
            try {
                ReadFile(i + 1 == series_.files.size());
            } catch (const ReadError& error) {
                result_.couldBeRead = false;
                Add(0, error.what(), true);
            }
        }
        return std::move(result_);
    }

  private:
    void Add(uint64_t offset, const std::string& text, bool isProblem) {
        result_.findings.push_back({file_->name.path, offset, text, isProblem});
    }

    void ReadFile(bool isLast) {
        const std::unique_ptr<ByteSource> source = OpenFile(file_->name.path);
        PieceScanner scanner(*source);
        isFirstFrame_ = true;
        hasRecords_ = false;
        hasDisorder_ = false;
        lastTime_ = 0;
        PieceKind last = PieceKind::Garbage;
        Piece piece;
        while (scanner.Next(piece)) {
            if (piece.offset == 0 && piece.kind != PieceKind::Created) {
                Add(0, "the beginning of the file is missing", true);
            }
            Take(piece);
            last = piece.kind;
        }
        result_.bytes += scanner.Offset();
        if (!scanner.Error().empty()) {
            result_.couldBeRead = false;
            Add(scanner.Offset(), scanner.Error(), true);
        }
        JudgeEnd(scanner.Offset(), last, isLast);
    }

    void JudgeEnd(uint64_t size, PieceKind last, bool isLast) {
        if (size == 0) {
            Add(0, "the file is empty", true);
        } else if (!hasRecords_) {
            Add(0, "the file holds no record", false);
        }
        if (size != 0 && last != PieceKind::Closed) {
            const bool isWritten = isLast && IsAlive(series_.process);
            Add(size, isWritten ? "the file is being written" : "the file has no end", !isWritten);
        }
    }

    void Take(const Piece& piece) {
        const std::string problem = DescribeProblem(piece);
        if (!problem.empty()) {
            ++result_.torn;
            Add(piece.offset, problem, true);
        }
        if (piece.kind == PieceKind::Closed) {
            ParseStamp(piece.bytes.substr(kFileClosed.size()), closed_);
        } else if (piece.kind == PieceKind::Created) {
            ParseStamp(piece.bytes.substr(kFileCreated.size()), created_);
        } else if (ParseRecord(piece, record_)) {
            TakeRecord(piece);
        }
    }

    void TakeRecord(const Piece& piece) {
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
    void CheckOrder() {
        if (record_.time < lastTime_) {
            ++result_.outOfOrder;
            if (record_.time < lastTime_ - kDisorder && !hasDisorder_) {
                Add(record_.offset, "the time goes back to " + std::string(record_.stamp), true);
                hasDisorder_ = true;
            }
        } else {
            result_.lastStamp = record_.stamp;
        }
        lastTime_ = std::max(lastTime_, record_.time);
    }

    void CheckNumber(const Piece& piece) {
        const uint32_t missing = piece.number - expected_;
        if (result_.frames == 0 && missing != 0) {
            Add(piece.offset,
                "begins with number " + std::to_string(piece.number) + ": older files are gone",
                false);
        } else if (static_cast<int32_t>(missing) > 0) {
            result_.missing += missing;
            Add(piece.offset, DescribeGap(piece.number, missing), true);
        } else if (missing != 0) {
            Add(piece.offset,
                "number " + std::to_string(piece.number) + " comes behind " +
                    std::to_string(expected_ - 1),
                true);
        }
        expected_ = piece.number + 1;
        isFirstFrame_ = false;
    }

    std::string DescribeGap(uint32_t number, uint32_t missing) const {
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

    const Series& series_;
    const LogFile* file_ = nullptr;
    Verification result_;
    Record record_;
    uint32_t expected_ = 1;
    bool isFirstFrame_ = true;  // of the file
    bool hasRecords_ = false;
    bool hasDisorder_ = false;
    Time lastTime_ = 0;
    Time closed_ = 0;
    Time created_ = 0;
};

}  // namespace

uint64_t Verification::Problems() const {
    return static_cast<uint64_t>(
        std::count_if(findings.begin(), findings.end(),
                      [](const Finding& finding) { return finding.isProblem; }));
}

Verification Verify(const Series& series) {
    return Verifier(series).Run();
}

bool IsAlive(int64_t process) {
    return process > 0 && (::kill(static_cast<pid_t>(process), 0) == 0 || errno == EPERM);
}

}  // namespace NS_LOG_READER
