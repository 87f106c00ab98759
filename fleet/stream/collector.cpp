#include "stream/collector.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <string_view>
#include <thread>
#include <utility>

namespace NS_LOG_FLEET {
namespace {

// A transaction stores about so many bytes of messages, which hold 64 KB at most, but for large
// records. Each costs a write to the disk that is waited for.
constexpr size_t kBatchBytes = size_t{4} * 1024 * 1024;
constexpr size_t kBatchMessages = 256;

// How long to wait for a message, and behind the first one for more.
constexpr int64_t kFetchMilliseconds = 1000;
constexpr std::chrono::milliseconds kGathering{100};

constexpr int64_t kNanosPerSecond = 1000000000;
constexpr int64_t kNanosPerMicro = 1000;

// A message that was not acknowledged by then comes again.
constexpr int64_t kAcknowledgeSeconds = 10;

// So often the stream is told that somebody works at what is held.
constexpr std::chrono::seconds kProgressInterval{1};

// More than the collectors of a shard hold at a time.
constexpr int64_t kMostOutstanding = 4096;

// So many of them may wait for a newer collector: the others are for what can be stored. When they
// come again, they cost each time what they hold.
constexpr int64_t kMostForNewer = kMostOutstanding / 2;
constexpr int64_t kNewerMilliseconds = 60000;

// All collectors of a shard share its messages under this name.
constexpr const char* kConsumer = "store";

constexpr int kFirstPause = 200;
constexpr int kLongestPause = 5000;

// What servers that have worked refuse may be a connection that broke in the middle of a greeting,
// or a table that an operator has taken away for a while.
constexpr int kMostRefusals = 10;

// When the stream took the message, in microseconds; none: the message does not say. It may be
// stored long after: that a host spoke then is no sign of its life now.
std::optional<int64_t> TimeOf(natsMsg* message) {
    jsMsgMetaData* found = nullptr;
    if (natsMsg_GetMetaData(&found, message) != NATS_OK) {
        return std::nullopt;
    }
    const StreamOwner<jsMsgMetaData, &jsMsgMetaData_Destroy> data(found);
    return data->Timestamp / kNanosPerMicro;
}

// The text may repeat what a host has sent: a terminal must not obey it.
std::string Printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char character) { return std::iscntrl(static_cast<unsigned char>(character)) != 0; },
        ' ');
    return text;
}

void Report(const std::string& text) {
    std::fprintf(stderr, "qvlog: %s\n", Printable(text).c_str());
}

}  // namespace

void Collector::Pause(const std::string& reason) {
    if (problem_ != reason) {
        problem_ = reason;
        Report(reason);
    }
    pause_ = std::clamp(pause_ * 2, kFirstPause, kLongestPause);
    for (int waited = 0; waited < pause_ && !isStopped_; waited += kFirstPause) {
        std::this_thread::sleep_for(std::chrono::milliseconds(kFirstPause));
    }
}

bool Collector::Run() {
    while (!isStopped_) {
        try {
            Work();
            return !hasTrouble_;
        } catch (const StreamError& error) {
            held_.clear();
            subscription_.reset();
            streams_.reset();
            connection_.reset();
            if (!error.IsPassing() && (!hasWorked_ || ++refusals_ > kMostRefusals)) {
                throw;
            }
            Pause(std::string("the stream: ") + error.what());
        }
    }
    return !hasTrouble_;
}

void Collector::Work() {
    Subscribe();
    while (!isStopped_) {
        const bool hasMore = Fetch();
        hasWorked_ = true;
        refusals_ = 0;
        StoreWhatIsHeld();
        if (settings_.once && !hasMore) {
            return;
        }
    }
}

void Collector::Subscribe() {
    connection_ = std::make_unique<StreamConnection>(settings_.stream);
    jsCtx* streams = nullptr;
    CheckStatus(natsConnection_JetStream(&streams, connection_->Get(), nullptr), "streams");
    streams_.reset(streams);
    const std::string stream = StreamName(settings_.shard);
    jsSubOptions options;
    jsSubOptions_Init(&options);
    options.Stream = stream.c_str();
    options.Config.AckPolicy = js_AckExplicit;
    options.Config.AckWait = kAcknowledgeSeconds * kNanosPerSecond;
    options.Config.MaxAckPending = kMostOutstanding;
    natsSubscription* subscription = nullptr;
    jsErrCode code{};
    const natsStatus status =
        js_PullSubscribe(&subscription, streams, StreamSubjects(settings_.shard).c_str(), kConsumer,
                         nullptr, &options, &code);
    subscription_.reset(subscription);
    CheckStatus(status, "subscribing to " + stream, code);
}

// False: nothing came for a while. The first message is awaited, and more for a short time behind
// it.
bool Collector::Fetch() {
    using Clock = std::chrono::steady_clock;
    heldBytes_ = 0;
    if (!FetchOne(kFetchMilliseconds)) {
        return false;
    }
    const Clock::time_point end = Clock::now() + kGathering;
    // What is not held counts as well: it must not keep what is held from the store.
    for (size_t fetched = 1; heldBytes_ < kBatchBytes && fetched < kBatchMessages;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        if (FetchOne(std::max<int64_t>(left.count(), 1))) {
            ++fetched;
        } else if (left.count() <= 0) {
            break;
        }
    }
    return true;
}

// Returns whether one came within the time. The library must not be asked for several: when some of
// them are there already, it writes more messages into its list than there is room for. A message
// is large, so that its own question costs little.
bool Collector::FetchOne(int64_t milliseconds) {
    natsMsgList list{};
    jsErrCode code{};
    const natsStatus status =
        natsSubscription_Fetch(&list, subscription_.get(), 1, milliseconds, &code);
    OwnedMessage message(list.Count == 1 ? std::exchange(list.Msgs[0], nullptr) : nullptr);
    natsMsgList_Destroy(&list);
    connection_->Check();
    if (status != NATS_TIMEOUT) {
        CheckStatus(status, "fetching", code);
    }
    if (!message) {
        return false;
    }
    Take(std::move(message));
    return true;
}

// A message that nobody can read, or in another host's name, would come again for ever: it is
// refused for good. One that a newer collector can read stays in the stream.
void Collector::Take(OwnedMessage message) {
    Arrived arrived;
    const std::string_view bytes(natsMsg_GetData(message.get()),
                                 static_cast<size_t>(natsMsg_GetDataLength(message.get())));
    heldBytes_ += bytes.size();
    try {
        arrived.content = Decode(bytes);
        CheckSubject(arrived.content, settings_.shard, natsMsg_GetSubject(message.get()));
        arrived.message = std::move(message);
        held_.push_back(std::move(arrived));
    } catch (const NewerMessage& error) {
        LeaveToNewer(message.get(), error.what());
    } catch (const MessageError& error) {
        Refuse(message.get(), error.what());
    }
}

void Collector::Refuse(natsMsg* message, const std::string& reason) {
    hasTrouble_ = true;
    Report(std::string(natsMsg_GetSubject(message)) + ": " + reason);
    natsMsg_Term(message, nullptr);
}

// It comes again after a while, perhaps to a collector that can read it.
void Collector::LeaveToNewer(natsMsg* message, const std::string& reason) {
    hasTrouble_ = true;
    const bool mayWait = MayWait(message, streams_.get(), kMostForNewer);
    const std::string report = natsMsg_GetSubject(message) + std::string(": ") + reason +
                               (mayWait ? "" : "; too many wait for that: the next are given up");
    if (settings_.newer->IsFirst(report)) {
        Report(report);
    }
    if (mayWait) {
        natsMsg_NakWithDelay(message, kNewerMilliseconds, nullptr);
    } else {
        natsMsg_Term(message, nullptr);
    }
}

// The stream sends again what nobody seems to work at.
void Collector::TellProgress() {
    const auto now = std::chrono::steady_clock::now();
    if (now - told_ < kProgressInterval) {
        return;
    }
    told_ = now;
    for (const Arrived& arrived : held_) {
        natsMsg_InProgress(arrived.message.get(), nullptr);
    }
}

void Collector::ThrowIfStopped() const {
    if (isStopped_) {
        throw StreamError("stopped before the store was there", true);
    }
}

// What is held is kept until the store has it.
void Collector::StoreWhatIsHeld() {
    if (held_.empty()) {
        return;
    }
    Selection all;
    all.reserve(held_.size());
    for (const Arrived& arrived : held_) {
        all.push_back(&arrived);
    }
    if (StoreUntilDone(all)) {
        StoreOneByOne();
    } else {
        for (const Arrived& arrived : held_) {
            natsMsg_Ack(arrived.message.get(), nullptr);
        }
        held_.clear();
    }
    if (pause_ != 0) {
        Report("collecting goes on");
        pause_ = 0;
        problem_.clear();
    }
}

// One of them may be to blame. It would come again for ever, and whatever comes beside it would
// wait. What is refused for its values is given up at once, what is refused for something else when
// others are taken all the while. A store that takes none is not to be waited for.
void Collector::StoreOneByOne() {
    for (Arrived& arrived : held_) {
        arrived.takenBefore = settings_.taken->Of(arrived.content.type);
    }
    for (int round = 0;; ++round) {
        const std::optional<StoreError> refusal = StoreEach();
        if (!refusal) {
            return;
        }
        if (round == kMostRefusals) {
            RefuseWhereOthersAreTaken(refusal->what());
        }
        if (held_.empty()) {
            return;
        }
        if (round == kMostRefusals || !settings_.taken->HasAny()) {
            throw StoreError(*refusal);
        }
        Pause(std::string("the store: ") + refusal->what());
        ThrowIfStopped();
    }
}

// Stores each alone, and returns why one of those that are still held was not stored.
std::optional<StoreError> Collector::StoreEach() {
    std::optional<StoreError> last;
    for (auto arrived = held_.begin(); arrived != held_.end();) {
        TellProgress();
        const std::optional<StoreError> refusal = StoreUntilDone({&*arrived});
        if (refusal && !refusal->IsAboutValues()) {
            last.emplace(*refusal);
            ++arrived;
            continue;
        }
        if (refusal) {
            Refuse(arrived->message.get(), refusal->what());
        } else {
            natsMsg_Ack(arrived->message.get(), nullptr);
        }
        arrived = held_.erase(arrived);
    }
    return last;
}

void Collector::RefuseWhereOthersAreTaken(const std::string& reason) {
    const auto refused =
        std::stable_partition(held_.begin(), held_.end(), [this](const Arrived& arrived) {
            return settings_.taken->Of(arrived.content.type) == arrived.takenBefore;
        });
    for (auto arrived = refused; arrived != held_.end(); ++arrived) {
        Refuse(arrived->message.get(), reason);
    }
    held_.erase(refused, held_.end());
}

// Waits as long as the store is away. Returns its words when it refuses the messages.
std::optional<StoreError> Collector::StoreUntilDone(const Selection& messages) {
    for (;;) {
        try {
            ConnectToStore();
            Store(messages);
            return std::nullopt;
        } catch (const StoreError& error) {
            const bool wasConnected = store_ != nullptr;
            store_.reset();
            if (!error.IsPassing() && wasConnected) {
                return error;
            }
            if (!error.IsPassing() &&
                (!settings_.taken->HasAny() || ++storeRefusals_ > kMostRefusals)) {
                throw;
            }
            Pause(std::string("the store: ") + error.what());
        }
        ThrowIfStopped();
        TellProgress();
    }
}

void Collector::ConnectToStore() {
    if (!store_) {
        files_.Clear();
        store_ = std::make_unique<RecordStore>(settings_.store);
        storeRefusals_ = 0;
    }
}

void Collector::Store(const Selection& messages) {
    std::vector<RecordStore::Entry> entries;
    for (const Arrived* const arrived : messages) {
        const Message& content = arrived->content;
        if (content.type == MessageType::Part) {
            entries.push_back({FindFile(content.file), &content.part});
        }
    }
    store_->Store(entries);
    for (const Arrived* const arrived : messages) {
        const Message& content = arrived->content;
        if (content.type == MessageType::Chunk) {
            store_->StoreChunk({FindFile(content.file), content.chunkOffset, content.part.bytes,
                                content.part.offset, content.part.slices.front()});
        } else if (content.type == MessageType::Mark) {
            store_->NoteComplete(FindFile(content.file).id, content.low);
        } else if (content.type == MessageType::Host) {
            store_->NoteHost(content.state, TimeOf(arrived->message.get()));
        }
    }
    for (const Arrived* const arrived : messages) {
        settings_.taken->Add(arrived->content.type);
    }
}

RowFile Collector::FindFile(const FileIdentity& file) {
    if (const std::optional<RowFile> known = files_.Find(file)) {
        return *known;
    }
    const RowFile row{store_->FindFile(file).id, DayOfName(file.name)};
    files_.Add(file, row);
    return row;
}

}  // namespace NS_LOG_FLEET
