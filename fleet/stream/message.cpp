#include "stream/message.h"

#include <cctype>
#include <cstring>

namespace NS_LOG_FLEET {
namespace {

constexpr uint8_t kVersion = 1;

// What begins with a higher number is no message of any version.
constexpr uint8_t kLastVersion = 31;

// Numbers as little-endian bytes, texts behind their length.
class Encoder {
  public:
    template <class Number>
    void Put(Number number) {
        for (size_t i = 0; i < sizeof number; ++i) {
            bytes_.push_back(static_cast<char>((static_cast<uint64_t>(number) >> (8 * i)) & 0xFF));
        }
    }
    void PutText(std::string_view text) {
        Put(static_cast<uint32_t>(text.size()));
        bytes_.append(text);
    }
    void Reserve(size_t size) { bytes_.reserve(size); }
    std::string Take() { return std::move(bytes_); }

  private:
    std::string bytes_;
};

class Decoder {
  public:
    explicit Decoder(std::string_view bytes) : rest_(bytes) {}

    template <class Number>
    Number Get() {
        uint64_t number = 0;
        for (size_t i = 0; i < sizeof(Number); ++i) {
            number |= static_cast<uint64_t>(static_cast<unsigned char>(At(i))) << (8 * i);
        }
        rest_.remove_prefix(sizeof(Number));
        return static_cast<Number>(number);
    }
    std::string GetText() {
        const auto size = Get<uint32_t>();
        if (size > rest_.size()) {
            throw MessageError("the message ends early");
        }
        std::string text(rest_.substr(0, size));
        rest_.remove_prefix(size);
        return text;
    }
    // A zero byte would end the text in the store, and make another name of it.
    std::string GetName() {
        std::string text = GetText();
        if (text.find('\0') != std::string::npos) {
            throw MessageError("the message has a name with a zero byte");
        }
        return text;
    }

  private:
    char At(size_t i) const {
        if (i >= rest_.size()) {
            throw MessageError("the message ends early");
        }
        return rest_[i];
    }

    std::string_view rest_;
};

void PutPart(const FilePart& part, Encoder& out) {
    out.Put(part.offset);
    out.Put(static_cast<uint32_t>(part.slices.size()));
    for (const FilePart::Slice& slice : part.slices) {
        out.Put(static_cast<uint8_t>(slice.kind));
        out.Put(slice.number);
        out.Put(slice.length);
    }
    out.PutText(part.bytes);
}

FilePart GetPart(Decoder& in) {
    FilePart part;
    part.offset = in.Get<uint64_t>();
    const auto count = in.Get<uint32_t>();
    for (uint32_t i = 0; i < count; ++i) {
        FilePart::Slice slice;
        const auto kind = in.Get<uint8_t>();
        if (kind > static_cast<uint8_t>(NS_LOG_READER::PieceKind::Garbage)) {
            throw MessageError("the message has a piece of an unknown kind");
        }
        slice.kind = static_cast<NS_LOG_READER::PieceKind>(kind);
        slice.number = in.Get<uint32_t>();
        slice.length = in.Get<uint32_t>();
        part.slices.push_back(slice);
    }
    part.bytes = in.GetText();
    return part;
}

void CheckVersion(uint8_t version) {
    if (version > kVersion && version <= kLastVersion) {
        throw NewerMessage("the message was made by a newer qvlog; update the collectors first");
    }
    if (version != kVersion) {
        throw MessageError("the message is not one of qvlog's");
    }
}

void CheckPart(const Message& message) {
    uint64_t length = 0;
    for (const FilePart::Slice& slice : message.part.slices) {
        if (slice.length > kLargestPiece) {
            throw MessageError("the message belongs to a record of " +
                               std::to_string(slice.length) + " bytes, which is too large");
        }
        length += slice.length;
    }
    const FilePart& part = message.part;
    const bool isWhole = message.type == MessageType::Part && length == part.bytes.size();
    const bool isInside = message.type == MessageType::Chunk && part.slices.size() == 1 &&
                          message.chunkOffset >= part.offset &&
                          message.chunkOffset + part.bytes.size() <= part.offset + length;
    if (!isWhole && !isInside) {
        throw MessageError("the message's pieces are not what it holds");
    }
}

}  // namespace

std::string Encode(const Message& message) {
    Encoder out;
    out.Reserve(message.part.bytes.size() + message.part.slices.size() * 9 + 512);
    out.Put(kVersion);
    out.Put(static_cast<uint8_t>(message.type));
    if (message.type == MessageType::Host) {
        out.PutText(message.state.host);
        out.Put(message.state.backlog);
        out.Put(message.state.files);
        out.PutText(message.state.problem);
        return out.Take();
    }
    out.PutText(message.file.host);
    out.PutText(message.file.name);
    out.PutText(message.file.first);
    out.Put(message.low);
    if (message.type != MessageType::Mark) {
        out.Put(message.chunkOffset);
        PutPart(message.part, out);
    }
    return out.Take();
}

Message Decode(std::string_view bytes) {
    Decoder in(bytes);
    CheckVersion(in.Get<uint8_t>());
    Message message;
    const auto type = in.Get<uint8_t>();
    if (type < 1 || type > static_cast<uint8_t>(MessageType::Host)) {
        throw MessageError("the message is of an unknown type");
    }
    message.type = static_cast<MessageType>(type);
    if (message.type == MessageType::Host) {
        message.state.host = in.GetName();
        message.state.backlog = in.Get<uint64_t>();
        message.state.files = in.Get<uint64_t>();
        message.state.problem = in.GetName();
        return message;
    }
    message.file.host = in.GetName();
    message.file.name = in.GetName();
    message.file.first = in.GetText();
    message.low = in.Get<uint64_t>();
    if (message.type != MessageType::Mark) {
        message.chunkOffset = in.Get<uint64_t>();
        message.part = GetPart(in);
        CheckPart(message);
    }
    return message;
}

std::string SubjectWord(std::string_view text) {
    constexpr const char* digits = "0123456789ABCDEF";
    std::string word;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if ((byte < 0x80 && std::isalnum(byte) != 0) || byte == '-' || byte == '_') {
            word.push_back(character);
        } else {
            word.push_back('=');
            word.push_back(digits[byte >> 4]);
            word.push_back(digits[byte & 15]);
        }
    }
    return word.empty() ? "=" : word;
}

namespace {

// FNV-1a: the same on every machine, whatever the library.
uint64_t Hash(std::string_view text) {
    uint64_t hash = 14695981039346656037U;
    for (const char character : text) {
        hash = (hash ^ static_cast<unsigned char>(character)) * 1099511628211U;
    }
    return hash;
}

// How all subjects of a host begin.
std::string SubjectsOf(uint32_t shard, const std::string& host) {
    return "logs." + std::to_string(shard) + "." + SubjectWord(host) + ".";
}

}  // namespace

uint32_t ShardOf(const std::string& host, uint32_t shards) {
    return shards < 2 ? 0 : static_cast<uint32_t>(Hash(host) % shards);
}

std::string StreamName(uint32_t shard) {
    return "LOGS_" + std::to_string(shard);
}

std::string StreamSubjects(uint32_t shard) {
    return "logs." + std::to_string(shard) + ".>";
}

std::string FileSubject(uint32_t shard, const FileIdentity& file, const std::string& category) {
    return SubjectsOf(shard, file.host) + SubjectWord(category) + "." + SubjectWord(file.name) +
           "-" + std::to_string(Hash(file.first));
}

std::string HostSubject(uint32_t shard, const std::string& host) {
    return SubjectsOf(shard, host) + "=.state";
}

void CheckSubject(const Message& message, uint32_t shard, std::string_view subject) {
    const std::string begin = SubjectsOf(shard, message.Host());
    if (subject.substr(0, begin.size()) != begin) {
        throw MessageError("the message is in the name of another host, " +
                           SubjectWord(message.Host()));
    }
}

}  // namespace NS_LOG_FLEET
