// A connection to the servers of the streams.
#pragma once

#include <nats/nats.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>

namespace NS_LOG_FLEET {

// Where the servers are, and who asks.
struct StreamAddress {
    std::string servers;      // nats://[USER:PASSWORD@]HOST:PORT, several separated by commas
    std::string authorities;  // file with the certificates to trust; empty: no TLS
    std::string certificate;  // file with the certificate to show; empty: none
    std::string key;          // file with its key
    std::string inbox;        // the first words of the subjects that answers come to
};

class StreamError : public std::runtime_error {
  public:
    StreamError(const std::string& text, bool isPassing)
        : std::runtime_error(text), isPassing_(isPassing) {}

    // Whether it may succeed when it is tried again later.
    bool IsPassing() const { return isPassing_; }

  private:
    bool isPassing_;
};

template <class Object, void (*Destroy)(Object*)>
struct StreamDeleter {
    void operator()(Object* object) const { Destroy(object); }
};
template <class Object, void (*Destroy)(Object*)>
using StreamOwner = std::unique_ptr<Object, StreamDeleter<Object, Destroy>>;

using OwnedMessage = StreamOwner<natsMsg, &natsMsg_Destroy>;

// Does not connect again by itself: who uses it makes another one, and asks where to go on.
//
// Thread safety: as the library's; the library's threads call back.
class StreamConnection {
  public:
    // Told what went wrong, on a thread of the library.
    using Listener = std::function<void(const std::string& trouble)>;

    // Throws StreamError.
    explicit StreamConnection(const StreamAddress& address, Listener listener = {});
    ~StreamConnection();

    StreamConnection(const StreamConnection&) = delete;
    StreamConnection& operator=(const StreamConnection&) = delete;

    natsConnection* Get() const { return connection_.get(); }

    // Throws StreamError when the connection is gone or the servers have refused something, with
    // their words.
    void Check() const;

  private:
    void SetOptions(const StreamAddress& address);
    void SetCertificates(const StreamAddress& address);
    void SetCallbacks();
    void Note(const std::string& text, bool isPassing);
    void NoteClosed();

    const Listener listener_;
    StreamOwner<natsOptions, &natsOptions_Destroy> options_;
    mutable std::mutex mutex_;
    std::condition_variable closed_;
    bool isClosed_ = false;
    std::string trouble_;
    bool isPassing_ = true;
    StreamOwner<natsConnection, &natsConnection_Destroy> connection_;
};

// Throws StreamError unless the status is fine. `code`: what the stream itself says, or 0.
void CheckStatus(natsStatus status, const std::string& doing, jsErrCode code = jsErrCode(0));

// Makes the stream of a shard when it is not there. Throws StreamError.
struct StreamSettings {
    uint32_t shard = 0;
    int replicas = 1;
    int64_t maxBytes = 0;    // it refuses more; 0: as much as the servers allow
    int64_t maxSeconds = 0;  // what is older is removed; 0: nothing is
};
void MakeStream(StreamConnection& connection, const StreamSettings& settings);

}  // namespace NS_LOG_FLEET
