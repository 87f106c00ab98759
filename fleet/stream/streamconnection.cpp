#include "stream/streamconnection.h"

#include <chrono>
#include <sstream>
#include <utility>
#include <vector>

#include "stream/message.h"

namespace NS_LOG_FLEET {
namespace {

constexpr int64_t kConnectMilliseconds = 5000;

// A server that has vanished without a word is noticed within a minute: so often it is asked
// whether it is there, and so often it may owe the answer.
constexpr int64_t kPingMilliseconds = 15000;
constexpr int kMostPingsOut = 2;
constexpr int kBufferBytes = 128 * 1024;

constexpr std::chrono::seconds kCloseTime{10};
constexpr int64_t kNanosPerSecond = 1000000000;

std::string Describe(natsStatus status) {
    natsStatus last = NATS_OK;
    const char* const text = nats_GetLastError(&last);
    std::string result = natsStatus_GetText(status);
    if (last == status && text != nullptr && *text != '\0') {
        result += std::string(" (") + text + ")";
    }
    return result;
}

// What no waiting changes.
bool IsRefusal(natsStatus status) {
    switch (status) {
        case NATS_CONNECTION_AUTH_FAILED:
        case NATS_NOT_PERMITTED:
        case NATS_SSL_ERROR:
        case NATS_SECURE_CONNECTION_REQUIRED:
        case NATS_SECURE_CONNECTION_WANTED:
        case NATS_PROTOCOL_ERROR:
        case NATS_INVALID_ARG:
        case NATS_MAX_PAYLOAD:
            return true;
        default:
            return false;
    }
}

// What the library says, without a reason, when a server ends in the middle of a greeting.
bool IsBrokenGreeting(natsStatus status, const std::string& text) {
    return status == NATS_SSL_ERROR && text.find("(null)") != std::string::npos;
}

std::vector<std::string> SplitServers(const std::string& servers) {
    std::vector<std::string> all;
    std::istringstream in(servers);
    for (std::string server; std::getline(in, server, ',');) {
        all.push_back(server);
    }
    return all;
}

}  // namespace

void CheckStatus(natsStatus status, const std::string& doing, jsErrCode code) {
    if (status == NATS_OK) {
        return;
    }
    std::string text = doing + ": " + Describe(status);
    if (code != 0) {
        text += ", error " + std::to_string(code);
    }
    throw StreamError(text, !IsRefusal(status) || IsBrokenGreeting(status, text));
}

StreamConnection::StreamConnection(const StreamAddress& address, Listener listener)
    : listener_(std::move(listener)) {
    natsOptions* options = nullptr;
    CheckStatus(natsOptions_Create(&options), "the stream's library");
    options_.reset(options);
    SetOptions(address);
    natsConnection* connection = nullptr;
    const natsStatus status = natsConnection_Connect(&connection, options);
    connection_.reset(connection);
    if (status == NATS_PROTOCOL_ERROR && address.certificate.empty()) {
        // What the library makes of a server that hangs up while it greets.
        throw StreamError("the servers refuse a client without a certificate", false);
    }
    CheckStatus(status, "cannot connect");
}

StreamConnection::~StreamConnection() {
    if (!connection_) {
        return;
    }
    natsConnection_Close(connection_.get());
    // The library calls back once more, on a thread of its own.
    std::unique_lock<std::mutex> lock(mutex_);
    closed_.wait_for(lock, kCloseTime, [this] { return isClosed_; });
}

void StreamConnection::SetOptions(const StreamAddress& address) {
    natsOptions* const options = options_.get();
    const std::vector<std::string> servers = SplitServers(address.servers);
    std::vector<const char*> list;
    list.reserve(servers.size());
    for (const std::string& server : servers) {
        list.push_back(server.c_str());
    }
    CheckStatus(natsOptions_SetServers(options, list.data(), static_cast<int>(list.size())),
                "servers");
    natsOptions_SetTimeout(options, kConnectMilliseconds);
    natsOptions_SetPingInterval(options, kPingMilliseconds);
    natsOptions_SetMaxPingsOut(options, kMostPingsOut);
    natsOptions_SetAllowReconnect(options, false);
    natsOptions_SetName(options, "qvlog");
    natsOptions_SetIOBufSize(options, kBufferBytes);
    if (!address.inbox.empty()) {
        natsOptions_SetCustomInboxPrefix(options, address.inbox.c_str());
    }
    SetCertificates(address);
    SetCallbacks();
}

void StreamConnection::SetCertificates(const StreamAddress& address) {
    natsOptions* const options = options_.get();
    if (!address.authorities.empty()) {
        natsOptions_SetSecure(options, true);
        CheckStatus(natsOptions_LoadCATrustedCertificates(options, address.authorities.c_str()),
                    address.authorities);
    }
    if (!address.certificate.empty()) {
        CheckStatus(natsOptions_LoadCertificatesChain(options, address.certificate.c_str(),
                                                      address.key.c_str()),
                    address.certificate);
    }
}

void StreamConnection::SetCallbacks() {
    natsOptions* const options = options_.get();
    natsOptions_SetClosedCB(
        options,
        [](natsConnection*, void* self) { static_cast<StreamConnection*>(self)->NoteClosed(); },
        this);
    natsOptions_SetErrorHandler(
        options,
        [](natsConnection* connection, natsSubscription*, natsStatus status, void* self) {
            const char* text = nullptr;
            natsConnection_GetLastError(connection, &text);
            static_cast<StreamConnection*>(self)->Note(
                std::string(natsStatus_GetText(status)) + ": " + (text == nullptr ? "" : text),
                status != NATS_NOT_PERMITTED);
        },
        this);
}

void StreamConnection::Note(const std::string& text, bool isPassing) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (trouble_.empty() || (isPassing_ && !isPassing)) {
            trouble_ = text;
            isPassing_ = isPassing;
        }
    }
    if (listener_) {
        listener_(text);
    }
}

void StreamConnection::NoteClosed() {
    Note("the connection has ended", true);
    const std::lock_guard<std::mutex> lock(mutex_);
    isClosed_ = true;
    closed_.notify_all();
}

void StreamConnection::Check() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!trouble_.empty()) {
        throw StreamError(trouble_, isPassing_);
    }
}

void MakeStream(StreamConnection& connection, const StreamSettings& settings) {
    jsCtx* made = nullptr;
    CheckStatus(natsConnection_JetStream(&made, connection.Get(), nullptr), "streams");
    const StreamOwner<jsCtx, &jsCtx_Destroy> streams(made);
    const std::string name = StreamName(settings.shard);
    jsStreamInfo* info = nullptr;
    jsErrCode code{};
    const natsStatus found = js_GetStreamInfo(&info, made, name.c_str(), nullptr, &code);
    jsStreamInfo_Destroy(info);
    if (found == NATS_OK) {
        return;
    }
    const std::string subjects = StreamSubjects(settings.shard);
    const char* list[] = {subjects.c_str()};
    jsStreamConfig config;
    jsStreamConfig_Init(&config);
    config.Name = name.c_str();
    config.Subjects = list;
    config.SubjectsLen = 1;
    config.Replicas = settings.replicas;
    config.MaxBytes = settings.maxBytes > 0 ? settings.maxBytes : -1;
    config.MaxAge = settings.maxSeconds * kNanosPerSecond;
    // Full means refused: shippers wait then. The default removes what nobody has collected yet.
    config.Discard = js_DiscardNew;
    config.Storage = js_FileStorage;
    config.AllowDirect = true;
    CheckStatus(js_AddStream(nullptr, made, &config, nullptr, &code), "stream " + name, code);
}

}  // namespace NS_LOG_FLEET
