// The selected records of one series of a store.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ask/piecequery.h"
#include "query/recordstream.h"
#include "query/selection.h"
#include "query/seriesstream.h"

namespace NS_LOG_FLEET {

// Takes pieces apart by the file's number and offset, as readers of files do: what comes is what
// comes of the files.
//
// Adds the records of a piece, those in a dump behind it. `origin` is set in all of them. False:
// the piece is no record.
bool ParsePiece(const NS_LOG_READER::Piece& piece, const NS_LOG_READER::LogFileName* origin,
                std::vector<NS_LOG_READER::Found>& found);

// A series of a store, without its files.
NS_LOG_READER::Series MakePlace(const std::string& host, const std::string& category,
                                int64_t process);

// Several hosts may have files of one name.
std::string PathOnHost(const NS_LOG_READER::LogFileName& name);

class StoreStream final : public NS_LOG_READER::RecordStream {
  public:
    // What a stream needs of the store.
    struct Source {
        Connection& connection;
        const Conditions& conditions;
        std::vector<const NS_LOG_READER::LogFile*> files;  // to be read
    };

    // All arguments outlive the stream. Nothing is asked yet.
    StoreStream(Source source, const NS_LOG_READER::Series& series, size_t index,
                const NS_LOG_READER::Matcher& matcher, NS_LOG_READER::StreamOptions options,
                bool newestFirst, NS_LOG_READER::ProblemListener& problems);

    bool Next(NS_LOG_READER::Found& found) override;
    NS_LOG_READER::Time FirstTime() const override;

  private:
    bool NextPiece();
    bool OpenNextFile();
    void TakePiece();

    const Source source_;
    const NS_LOG_READER::Series& series_;
    const size_t index_;
    const NS_LOG_READER::Matcher& matcher_;
    const NS_LOG_READER::StreamOptions options_;
    const bool newestFirst_;
    NS_LOG_READER::ProblemListener& problems_;
    size_t file_ = 0;  // the next one, of those to be read
    const NS_LOG_READER::LogFile* current_ = nullptr;
    std::unique_ptr<PieceQuery> query_;
    NS_LOG_READER::Piece piece_;
    std::vector<NS_LOG_READER::Found> found_;  // of the piece
    size_t given_ = 0;
    uint64_t ordinal_ = 0;
    NS_LOG_READER::Time lastTime_ = 0;
};

}  // namespace NS_LOG_FLEET
