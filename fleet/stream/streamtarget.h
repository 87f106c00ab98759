// The road through a stream, from which collectors store.
#pragma once

#include <nats/nats.h>

#include <memory>
#include <string>
#include <vector>

#include "ship/target.h"
#include "stream/message.h"
#include "stream/streamconnection.h"
#include "stream/window.h"

namespace NS_LOG_FLEET {

// Each file has a subject of its own. Each of its messages says how far the file had arrived
// without a gap when it was sent; so the last one of them tells a new shipper where to go on. That
// the last message has arrived does not mean that those before it have.
class StreamTarget final : public Target {
  public:
    // Connects. Throws TargetError.
    static std::unique_ptr<Target> Make(const StreamAddress& address, const std::string& host,
                                        uint32_t shards);

    // The same. Throws StreamError.
    StreamTarget(const StreamAddress& address, const std::string& host, uint32_t shards);
    ~StreamTarget() override;

    TargetFile Open(const FileIdentity& file) override;
    void Send(int64_t handle, FilePart part) override;
    void Flush() override;
    std::vector<KnownFile> FilesOf(const std::string& host) override;
    void NoteGone(int64_t handle, uint64_t lost) override;
    void NoteComplete(int64_t handle, uint64_t size) override;
    void NoteSentAgain(int64_t handle) override;
    void NoteHost(const HostState& state) override;
    std::chrono::milliseconds Gathering() const override;

  private:
    struct File {
        FileIdentity identity;
        std::string subject;
        bool isMarked = false;  // the last message is a closing mark
    };

    static void ReadLast(natsMsg* last, File& file, uint64_t& resumeAt);
    void SendJoined(int64_t handle, const FilePart& part);
    void SendInChunks(int64_t handle, const NS_LOG_READER::Piece& piece);
    void PublishPart(int64_t handle, Message& message, uint64_t begin, uint64_t end);
    void Publish(const std::string& subject, const Message& message, const std::string& key);

    const std::string host_;
    const uint32_t shard_;
    std::vector<File> files_;
    std::shared_ptr<Window> window_;
    StreamConnection connection_;
    StreamOwner<jsCtx, &jsCtx_Destroy> streams_;
};

}  // namespace NS_LOG_FLEET
