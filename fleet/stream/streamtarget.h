// The road through a stream, from which collectors store.
#pragma once

#include <nats/nats.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ship/target.h"
#include "stream/message.h"
#include "stream/streamconnection.h"
#include "stream/window.h"

namespace NS_LOG_FLEET {

// How far the files of each subject have arrived, as the targets of one program saw it.
struct Arrival {
    uint64_t end = 0;           // without what was left out
    uint64_t gap = UINT64_MAX;  // where something was left out in front of the end
    bool isMarked = false;
};
using Arrivals = std::map<std::string, Arrival>;

// Each file has a subject of its own. Each of its messages says how far the file had arrived
// without a gap when it was sent; so the last one of them tells a new shipper where to go on. That
// the last message has arrived does not mean that those before it have.
//
// What earlier targets of this program saw arriving is not sent again, also when the stream has
// forgotten it since: a small stream would be filled with the same messages again and again.
class StreamTarget final : public Target {
  public:
    // Connects. Throws TargetError.
    static std::unique_ptr<Target> Make(const StreamAddress& address, const std::string& host,
                                        uint32_t shards, const std::shared_ptr<Arrivals>& arrivals);

    // The same. Throws StreamError.
    StreamTarget(const StreamAddress& address, const std::string& host, uint32_t shards,
                 std::shared_ptr<Arrivals> arrivals);
    ~StreamTarget() override;

    TargetFile Open(const FileIdentity& file) override;
    std::optional<KnownFile> Find(const FileIdentity& file) override;
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
        uint64_t sent = 0;          // where the last part that was sent ended
        bool isMarked = false;      // the last message is a closing mark
        uint64_t gap = UINT64_MAX;  // what stands there was not sent; what stands behind it was
    };

    // What the last message of a file says.
    struct LastMessage {
        uint64_t low = 0;
        bool isMark = false;
    };

    File MakeFile(const FileIdentity& identity) const;
    std::optional<LastMessage> FindLast(const std::string& subject);
    static LastMessage ReadLast(natsMsg* last, const std::string& subject);
    void SendJoined(int64_t handle, const FilePart& part);
    void SendInChunks(int64_t handle, const NS_LOG_READER::Piece& piece);
    static void NoteGap(File& file, uint64_t offset);
    void AwaitRoom(size_t most);
    void PublishPart(int64_t handle, Message& message, uint64_t begin, uint64_t end);
    void Publish(const std::string& subject, const Message& message, const std::string& key);

    const std::string host_;
    const uint32_t shard_;
    const std::shared_ptr<Arrivals> arrivals_;
    std::map<int64_t, File> files_;  // by handle, until they have gone
    int64_t nextHandle_ = 0;
    std::shared_ptr<Window> window_;
    StreamConnection connection_;
    StreamOwner<jsCtx, &jsCtx_Destroy> streams_;
};

}  // namespace NS_LOG_FLEET
