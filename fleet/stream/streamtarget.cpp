#include "stream/streamtarget.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <utility>

#include "input/series.h"

namespace NS_LOG_FLEET {
namespace {

// Pieces are joined to messages of this size. One by one they cost the servers seven times as much.
constexpr size_t kJoinedSize = size_t{64} * 1024;

// A piece that is larger goes in several messages. The servers take 1 MB unless they are told
// otherwise.
constexpr size_t kLargestMessage = size_t{512} * 1024;

// So many messages may be on their way.
constexpr size_t kWindow = 64;

// A message that was not acknowledged by then is given up, and sent again by a new target.
constexpr int64_t kAcknowledgeMilliseconds = 5000;

// Not the header by which servers leave out what came before, which holds for two minutes: the
// store's key leaves out what comes twice.
constexpr const char* kKeyHeader = "Qv-Key";

// A call-back of the library may still run when its target is gone. The last windows are kept for
// it: a new target is made every 0.2 seconds at most.
void KeepForAWhile(std::shared_ptr<Window> window) {
    static std::mutex mutex;
    static std::deque<std::shared_ptr<Window>> windows;
    const std::lock_guard<std::mutex> lock(mutex);
    windows.push_back(std::move(window));
    if (windows.size() > 50) {
        windows.pop_front();
    }
}

template <class Work>
auto Translated(Work work) {
    try {
        return work();
    } catch (const StreamError& error) {
        throw TargetError(std::string("the stream: ") + error.what(), error.IsPassing());
    }
}

void TakeAnswer(jsCtx*, natsMsg* message, jsPubAck*, jsPubAckErr* error, void* closure) {
    const OwnedMessage owner(message);
    auto* const window = static_cast<Window*>(closure);
    if (error != nullptr) {
        const char* const text = error->ErrText != nullptr ? error->ErrText : "";
        window->Fail(*text != '\0' ? text : natsStatus_GetText(error->Err));
        return;
    }
    const char* key = nullptr;
    natsMsgHeader_Get(message, kKeyHeader, &key);
    window->Remove(key == nullptr ? "" : key);
}

}  // namespace

StreamTarget::StreamTarget(const StreamAddress& address, const std::string& host, uint32_t shards,
                           std::shared_ptr<Arrivals> arrivals)
    : host_(host),
      shard_(ShardOf(host, shards)),
      arrivals_(std::move(arrivals)),
      window_(std::make_shared<Window>()),
      // Nobody acknowledges what was on its way when the connection ends.
      connection_(address,
                  [window = window_](const std::string& trouble) { window->Fail(trouble); }) {
    Translated([&] {
        jsOptions options;
        jsOptions_Init(&options);
        options.PublishAsync.AckHandler = &TakeAnswer;
        options.PublishAsync.AckHandlerClosure = window_.get();
        jsCtx* streams = nullptr;
        CheckStatus(natsConnection_JetStream(&streams, connection_.Get(), &options), "streams");
        streams_.reset(streams);
    });
}

std::unique_ptr<Target> StreamTarget::Make(const StreamAddress& address, const std::string& host,
                                           uint32_t shards,
                                           const std::shared_ptr<Arrivals>& arrivals) {
    return Translated(
        [&] { return std::make_unique<StreamTarget>(address, host, shards, arrivals); });
}

StreamTarget::~StreamTarget() {
    constexpr uint64_t none = UINT64_MAX;
    for (const auto& [handle, file] : files_) {
        const uint64_t lowest = window_->Lowest(handle, none);
        Arrival& arrival = (*arrivals_)[file.subject];
        const uint64_t end = std::min(lowest, file.sent);
        // What is sent again has not come by its gap yet.
        if (end >= arrival.end) {
            arrival.end = end;
            arrival.gap = file.gap < end ? file.gap : UINT64_MAX;
        }
        arrival.isMarked = file.isMarked && lowest == none;
    }
    KeepForAWhile(window_);
}

std::chrono::milliseconds StreamTarget::Gathering() const {
    return std::chrono::milliseconds(800);
}

// Servers that change their leader may answer with an empty message.
StreamTarget::LastMessage StreamTarget::ReadLast(natsMsg* last, const std::string& subject) {
    try {
        const Message message =
            Decode({natsMsg_GetData(last), static_cast<size_t>(natsMsg_GetDataLength(last))});
        return {message.low, message.type == MessageType::Mark};
    } catch (const MessageError& error) {
        throw StreamError("the last message of " + subject + ": " + error.what(), true);
    }
}

StreamTarget::File StreamTarget::MakeFile(const FileIdentity& identity) const {
    const auto parts = NS_LOG_READER::ParseLogFileName(identity.name);
    File file;
    file.identity = identity;
    file.subject = FileSubject(shard_, identity, parts ? parts->category : "");
    return file;
}

// None: the stream has no message of the file, or none any more.
std::optional<StreamTarget::LastMessage> StreamTarget::FindLast(const std::string& subject) {
    return Translated([&]() -> std::optional<LastMessage> {
        jsDirectGetMsgOptions options;
        jsDirectGetMsgOptions_Init(&options);
        options.LastBySubject = subject.c_str();
        natsMsg* last = nullptr;
        const natsStatus status =
            js_DirectGetMsg(&last, streams_.get(), StreamName(shard_).c_str(), nullptr, &options);
        const OwnedMessage owner(last);
        if (status == NATS_NOT_FOUND) {
            return std::nullopt;
        }
        connection_.Check();
        CheckStatus(status, "asking for the last message of " + subject);
        return ReadLast(last, subject);
    });
}

TargetFile StreamTarget::Open(const FileIdentity& identity) {
    File file = MakeFile(identity);
    const LastMessage last = FindLast(file.subject).value_or(LastMessage());
    const auto known = arrivals_->find(file.subject);
    const Arrival arrival = known == arrivals_->end() ? Arrival() : known->second;
    file.isMarked = last.isMark || arrival.isMarked;
    file.sent = std::max(last.low, arrival.end);
    file.gap = arrival.gap;
    const TargetFile opened{nextHandle_++, file.sent, file.isMarked};
    files_.emplace(opened.handle, std::move(file));
    return opened;
}

std::optional<KnownFile> StreamTarget::Find(const FileIdentity& identity) {
    const std::optional<LastMessage> last = FindLast(MakeFile(identity).subject);
    if (!last) {
        return std::nullopt;
    }
    return KnownFile{0, identity.name, identity.first, last->low, last->low, last->isMark, false};
}

void StreamTarget::Send(int64_t handle, FilePart part) {
    files_.at(handle).isMarked = false;
    NoteGap(files_.at(handle), part.offset);
    FilePart joined;
    part.ForEach([&](const NS_LOG_READER::Piece& piece) {
        // What is joined follows each other: it goes before a piece that goes alone.
        if (!joined.slices.empty() && joined.bytes.size() + piece.bytes.size() > kJoinedSize) {
            SendJoined(handle, joined);
            joined = FilePart();
        }
        if (piece.bytes.size() > kLargestMessage) {
            SendInChunks(handle, piece);
        } else {
            joined.Add(piece);
        }
    });
    if (!joined.slices.empty()) {
        SendJoined(handle, joined);
    }
}

// A piece may have been left out in front of what begins there.
void StreamTarget::NoteGap(File& file, uint64_t offset) {
    file.gap = offset > file.sent   ? std::min(file.gap, file.sent)
               : offset <= file.gap ? UINT64_MAX
                                    : file.gap;
}

void StreamTarget::SendJoined(int64_t handle, const FilePart& part) {
    Message message;
    message.type = MessageType::Part;
    message.part = part;
    PublishPart(handle, message, part.offset, part.End());
    files_.at(handle).sent = part.End();
}

void StreamTarget::SendInChunks(int64_t handle, const NS_LOG_READER::Piece& piece) {
    for (size_t at = 0; at < piece.bytes.size(); at += kLargestMessage) {
        Message message;
        message.type = MessageType::Chunk;
        message.chunkOffset = piece.offset + at;
        message.part.offset = piece.offset;
        message.part.bytes = piece.bytes.substr(at, kLargestMessage);
        message.part.slices.push_back(
            {piece.kind, piece.number, static_cast<uint32_t>(piece.bytes.size())});
        PublishPart(handle, message, message.chunkOffset,
                    message.chunkOffset + message.part.bytes.size());
    }
    // Not before: of a piece, the chunks that have not been sent have not arrived.
    files_.at(handle).sent = piece.offset + piece.bytes.size();
}

// A new shipper cannot begin inside a piece: the place of a chunk is that of its piece.
void StreamTarget::PublishPart(int64_t handle, Message& message, uint64_t begin, uint64_t end) {
    AwaitRoom(kWindow);
    const File& file = files_.at(handle);
    const std::string key = file.subject + ":" + std::to_string(begin) + "-" + std::to_string(end);
    window_->Add(key, handle, message.part.offset);
    message.file = file.identity;
    message.low = std::min(file.gap, window_->Lowest(handle, message.part.offset));
    Publish(file.subject, message, key);
}

void StreamTarget::Publish(const std::string& subject, const Message& message,
                           const std::string& key) {
    Translated([&] {
        connection_.Check();
        const std::string failure = window_->Failure();
        if (!failure.empty()) {
            throw StreamError(failure, true);
        }
        const std::string bytes = Encode(message);
        natsMsg* made = nullptr;
        CheckStatus(natsMsg_Create(&made, subject.c_str(), nullptr, bytes.data(),
                                   static_cast<int>(bytes.size())),
                    "message");
        OwnedMessage owner(made);
        jsPubOptions options;
        jsPubOptions_Init(&options);
        options.MaxWait = kAcknowledgeMilliseconds;
        CheckStatus(natsMsgHeader_Set(made, kKeyHeader, key.c_str()), "message");
        natsMsg* sent = owner.release();
        const natsStatus status = js_PublishMsgAsync(streams_.get(), &sent, &options);
        owner.reset(sent);
        CheckStatus(status, "publishing");
    });
}

// Waits until fewer than `most` messages are on their way.
void StreamTarget::AwaitRoom(size_t most) {
    const bool hasRoom = window_->AwaitRoom(most);
    Translated([&] {
        connection_.Check();
        if (!hasRoom) {
            throw StreamError(window_->Failure(), true);
        }
    });
}

void StreamTarget::Flush() {
    AwaitRoom(1);
}

std::vector<KnownFile> StreamTarget::FilesOf(const std::string&) {
    return {};
}

// Nobody is told: see docs/fleet.md.
void StreamTarget::NoteGone(int64_t handle, uint64_t) {
    const auto file = files_.find(handle);
    if (file != files_.end()) {
        arrivals_->erase(file->second.subject);
        files_.erase(file);
    }
}

// What was sent has arrived: the shipper flushes before it says so.
void StreamTarget::NoteComplete(int64_t handle, uint64_t size) {
    File& file = files_.at(handle);
    // A file with a gap is never complete, whoever has it open.
    if (file.isMarked || file.gap != UINT64_MAX) {
        return;
    }
    Message message;
    message.type = MessageType::Mark;
    message.file = file.identity;
    message.low = size;
    const std::string key = file.subject + ":" + std::to_string(size) + "-end";
    window_->Add(key, handle, size);
    file.isMarked = true;
    Publish(file.subject, message, key);
}

void StreamTarget::NoteSentAgain(int64_t) {}

void StreamTarget::NoteHost(const HostState& state) {
    Message message;
    message.type = MessageType::Host;
    message.state = state;
    const std::string subject = HostSubject(shard_, host_);
    const std::string key =
        subject + ":" + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
    window_->Add(key, -1, 0);
    Publish(subject, message, key);
}

}  // namespace NS_LOG_FLEET
