// What shippers and collectors do in the store.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "store/connection.h"
#include "store/copystream.h"
#include "store/filepart.h"
#include "store/recordrows.h"

namespace NS_LOG_FLEET {

// A row of qv.file.
struct StoredFile {
    int64_t id = 0;
    std::string name;
    std::string first;
    uint64_t stored = 0;  // everything in front of it is stored
    uint64_t size = 0;
    bool isComplete = false;
    bool isWantedAgain = false;
};

// What a host says about itself; see qv.host. `problem` is empty when all is well.
struct HostState {
    std::string host;
    uint64_t backlog = 0;
    uint64_t files = 0;
    std::string problem;
};

// Every operation throws StoreError. A part that is stored twice makes no second row.
//
// Thread safety: none.
class RecordStore {
  public:
    // Refuses a store without the tables that this program knows.
    explicit RecordStore(const std::string& target);

    // The file's row; makes it when it is not there yet. A file that had gone is there again.
    StoredFile FindFile(const FileIdentity& file);

    // The file's row, when there is one. Changes nothing.
    std::optional<StoredFile> LookUp(const FileIdentity& file);

    // All files of the host that have not gone.
    std::vector<StoredFile> FilesOf(const std::string& host);

    // A part that goes into the store.
    struct Entry {
        RowFile file;
        const FilePart* part = nullptr;
    };

    // A part of one piece that is larger than a message.
    struct Chunk {
        RowFile file;
        uint64_t offset = 0;
        std::string_view bytes;
        uint64_t pieceOffset = 0;
        FilePart::Slice piece;
    };

    // Stores the parts and moves the files' marks on, all of it or nothing. When it throws, the
    // store may have them nevertheless. Returns how many rows were new.
    uint64_t Store(const std::vector<Entry>& entries);

    // Stores a part of a piece, and the piece when all of it is there. Returns how many rows were
    // new.
    uint64_t StoreChunk(const Chunk& chunk);

    // The file has gone from its host. `lost`: how many of its bytes nobody has sent.
    void NoteGone(int64_t file, uint64_t lost);

    // Nobody writes the file any more, and this is its size.
    void NoteComplete(int64_t file, uint64_t size);

    // The order to send a file again is carried out.
    void NoteSentAgain(int64_t file);

    // `seen`: when the host said so, in microseconds since 1970; none: just now. What it said
    // before what is known of it changes nothing.
    void NoteHost(const HostState& state, std::optional<int64_t> seen = std::nullopt);

  private:
    bool HasPiece(const Chunk& chunk);
    std::optional<FilePart> AddChunk(const Chunk& chunk);
    uint64_t TryStore(const std::vector<Entry>& entries, bool isFresh);
    uint64_t CopyRows(const std::vector<Entry>& entries, CopyStream& copy) const;
    uint64_t CopyAndMerge(const std::vector<Entry>& entries);
    void NoteStored(std::vector<Entry> entries);
    void MakeDays(const std::vector<Entry>& entries);

    Connection connection_;
};

// Who waits for new records listens on this channel. The payload is the host's name, or empty.
extern const char* const kStoredChannel;

}  // namespace NS_LOG_FLEET
