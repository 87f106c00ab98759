// What goes through a stream.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "store/filepart.h"
#include "store/recordstore.h"

namespace NS_LOG_FLEET {

// A message is not one of ours, or was made by a newer program.
class MessageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// It was made by a newer program, which can read it.
class NewerMessage : public MessageError {
  public:
    using MessageError::MessageError;
};

enum class MessageType : uint8_t {
    Part = 1,   // whole pieces of a file
    Chunk = 2,  // a part of one piece that is larger than a message
    Mark = 3,   // all of the file in front of `low` has arrived, and nobody writes it any more
    Host = 4    // the host's state
};

// A value.
struct Message {
    MessageType type = MessageType::Part;
    FileIdentity file;
    // Everything of the file in front of it had arrived for good when this was sent.
    uint64_t low = 0;
    FilePart part;             // of a chunk: its bytes, and one slice for the whole piece
    uint64_t chunkOffset = 0;  // of a chunk: where its bytes begin in the file
    HostState state;           // of the host

    // Whose it is, by its own words.
    const std::string& Host() const { return type == MessageType::Host ? state.host : file.host; }
};

std::string Encode(const Message& message);

// Throws MessageError, also for a piece that is larger than kLargestPiece.
Message Decode(std::string_view bytes);

// Subjects consist of words between dots. The text as one word: what is neither a letter, a digit,
// '-' nor '_' becomes =XX.
std::string SubjectWord(std::string_view text);

// Which of `shards` streams takes the host's records.
uint32_t ShardOf(const std::string& host, uint32_t shards);

// "LOGS_<shard>", and what it listens to.
std::string StreamName(uint32_t shard);
std::string StreamSubjects(uint32_t shard);

// "logs.<shard>.<host>.<category>.<file>": one for each contents of each file of a host.
std::string FileSubject(uint32_t shard, const FileIdentity& file, const std::string& category);
std::string HostSubject(uint32_t shard, const std::string& host);

// Servers see to it that a host uses its own subjects only; what stands in a message is the
// sender's word. Throws MessageError unless the subject is one of the message's host.
void CheckSubject(const Message& message, uint32_t shard, std::string_view subject);

}  // namespace NS_LOG_FLEET
