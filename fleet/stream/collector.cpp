#include "stream/collector.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
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

// More than the collectors of a shard hold at a time.
constexpr int64_t kMostOutstanding = 4096;

// All collectors of a shard share its messages under this name.
constexpr const char* kConsumer = "store";

constexpr int kFirstPause = 200;
constexpr int kLongestPause = 5000;

// What servers that have worked refuse may be a connection that broke in the middle of a greeting,
// or a store that an operator has taken away for a while.
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

}  // namespace

// The text may repeat what a host has sent: a terminal must not obey it.
void Collector::Report(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char character) { return std::iscntrl(static_cast<unsigned char>(character)) != 0; },
        ' ');
    std::fprintf(stderr, "qvlog: %s\n", text.c_str());
}

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
        Batch batch;
        const bool hasMore = Fetch(batch);
        hasWorked_ = true;
        refusals_ = 0;
        StoreWhatIsTaken(batch);
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
bool Collector::Fetch(Batch& batch) {
    using Clock = std::chrono::steady_clock;
    if (!FetchOne(kFetchMilliseconds, batch)) {
        return false;
    }
    const Clock::time_point end = Clock::now() + kGathering;
    while (batch.bytes < kBatchBytes && batch.messages.size() < kBatchMessages) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        if (!FetchOne(std::max<int64_t>(left.count(), 1), batch) && left.count() <= 0) {
            break;
        }
    }
    return true;
}

// Returns whether one came within the time. The library must not be asked for several: when some of
// them are there already, it writes more messages into its list than there is room for. A message
// is large, so that its own question costs little.
bool Collector::FetchOne(int64_t milliseconds, Batch& batch) {
    natsMsgList list{};
    jsErrCode code{};
    const natsStatus status =
        natsSubscription_Fetch(&list, subscription_.get(), 1, milliseconds, &code);
    const bool hasCome = list.Count == 1;
    if (hasCome) {
        Take(std::exchange(list.Msgs[0], nullptr), batch);
    }
    natsMsgList_Destroy(&list);
    connection_->Check();
    if (status != NATS_TIMEOUT) {
        CheckStatus(status, "fetching", code);
    }
    return hasCome;
}

// A message that nobody can read, or in another host's name, would come again for ever: it is
// refused for good.
void Collector::Take(natsMsg* message, Batch& batch) {
    Arrived arrived;
    arrived.message.reset(message);
    batch.bytes += static_cast<size_t>(natsMsg_GetDataLength(message));
    try {
        arrived.content =
            Decode({natsMsg_GetData(message), static_cast<size_t>(natsMsg_GetDataLength(message))});
        CheckSubject(arrived.content, settings_.shard, natsMsg_GetSubject(message));
        batch.messages.push_back(std::move(arrived));
    } catch (const MessageError& error) {
        Refuse(message, error.what());
    }
}

void Collector::Refuse(natsMsg* message, const std::string& reason) {
    hasTrouble_ = true;
    Report(std::string(natsMsg_GetSubject(message)) + ": " + reason);
    natsMsg_Term(message, nullptr);
}

void Collector::StoreWhatIsTaken(Batch& batch) {
    if (batch.messages.empty()) {
        return;
    }
    if (StoreUntilDone(batch)) {
        StoreOneByOne(batch);
    } else {
        Acknowledge(batch);
    }
    if (pause_ != 0) {
        Report("collecting goes on");
        pause_ = 0;
        problem_.clear();
    }
}

// Something in one of them is taken by no column. It would come again for ever, and whatever comes
// beside it would wait.
void Collector::StoreOneByOne(Batch& batch) {
    for (Arrived& arrived : batch.messages) {
        Batch one;
        one.messages.push_back(std::move(arrived));
        const std::optional<std::string> refusal = StoreUntilDone(one);
        if (refusal) {
            Refuse(one.messages.front().message.get(), *refusal);
        } else {
            Acknowledge(one);
        }
    }
}

// The messages are kept until the store has them, and the stream is told meanwhile that somebody
// works at them. Returns the store's words when it refuses what stands in them.
std::optional<std::string> Collector::StoreUntilDone(const Batch& batch) {
    for (;;) {
        try {
            if (!store_) {
                files_.clear();
                store_ = std::make_unique<RecordStore>(settings_.store);
            }
            return TryToStore(batch);
        } catch (const StoreError& error) {
            store_.reset();
            if (!error.IsPassing() && (!*settings_.hasStored || ++storeRefusals_ > kMostRefusals)) {
                throw;
            }
            Pause(std::string("the store: ") + error.what());
        }
        if (isStopped_) {
            throw StreamError("stopped before the store was there", true);
        }
        for (const Arrived& arrived : batch.messages) {
            natsMsg_InProgress(arrived.message.get(), nullptr);
        }
    }
}

std::optional<std::string> Collector::TryToStore(const Batch& batch) {
    std::optional<std::string> refusal;
    try {
        StoreBatch(batch);
        *settings_.hasStored = true;
    } catch (const StoreError& error) {
        if (!error.IsAboutValues()) {
            throw;
        }
        store_.reset();
        refusal = error.what();
    }
    storeRefusals_ = 0;
    return refusal;
}

void Collector::StoreBatch(const Batch& batch) {
    std::vector<RecordStore::Entry> entries;
    for (const Arrived& arrived : batch.messages) {
        const Message& content = arrived.content;
        if (content.type == MessageType::Part) {
            entries.push_back({FindFile(content.file), &content.part});
        }
    }
    store_->Store(entries);
    for (const Arrived& arrived : batch.messages) {
        const Message& content = arrived.content;
        if (content.type == MessageType::Chunk) {
            store_->StoreChunk({FindFile(content.file), content.chunkOffset, content.part.bytes,
                                content.part.offset, content.part.slices.front()});
        } else if (content.type == MessageType::Mark) {
            store_->NoteComplete(FindFile(content.file).id, content.low);
        } else if (content.type == MessageType::Host) {
            store_->NoteHost(content.state, TimeOf(arrived.message.get()));
        }
    }
}

RowFile Collector::FindFile(const FileIdentity& file) {
    const std::string key = file.host + '\n' + file.name + '\n' + file.first;
    const auto known = files_.find(key);
    if (known != files_.end()) {
        return known->second;
    }
    const RowFile row{store_->FindFile(file).id, DayOfName(file.name)};
    files_.emplace(key, row);
    return row;
}

void Collector::Acknowledge(const Batch& batch) {
    for (const Arrived& arrived : batch.messages) {
        natsMsg_Ack(arrived.message.get(), nullptr);
    }
}

}  // namespace NS_LOG_FLEET
