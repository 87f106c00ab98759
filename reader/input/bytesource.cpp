#include "input/bytesource.h"

#include <fcntl.h>
#include <zlib.h>
#include <zstd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "format/fixedtext.h"
#include "input/plainfile.h"

namespace NS_LOG_READER {
namespace {

constexpr size_t kCompressedChunk = size_t{128} * 1024;

// The largest window, and gzip's own header.
constexpr int kGzipWindow = 15 + 16;

// Enough to begin a frame of zstd with.
constexpr size_t kZstdBeginning = 5;

// The first byte of gzip data.
constexpr Bytef kGzipMark = 0x1f;

class CompressedSource : public ByteSource {
  public:
    void Seek(uint64_t offset) override {
        if (offset != 0) {
            throw ReadError("compressed files are read from their beginning");
        }
    }
    uint64_t Size() const override { return 0; }
    bool IsPlain() const override { return false; }
};

// What was unpacked before damage is handed out before the damage is told.
class GzipFile final : public CompressedSource {
  public:
    explicit GzipFile(const std::string& path) : path_(path), file_(path) {
        if (::inflateInit2(&stream_, kGzipWindow) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ~GzipFile() override { ::inflateEnd(&stream_); }

    GzipFile(const GzipFile&) = delete;
    GzipFile& operator=(const GzipFile&) = delete;

    size_t Read(char* bytes, size_t size) override {
        stream_.next_out = reinterpret_cast<Bytef*>(bytes);
        stream_.avail_out = static_cast<uInt>(size);
        while (stream_.avail_out == size) {
            if (stream_.avail_in == 0 && !mayHoldMore_ && !ReadChunk()) {
                return 0;
            }
            if (isMemberComplete_ && !BeginMember()) {
                return 0;
            }
            const int result = ::inflate(&stream_, Z_NO_FLUSH);
            isMemberComplete_ = result == Z_STREAM_END;
            mayHoldMore_ = stream_.avail_out == 0 && !isMemberComplete_;
            const bool isGood = isMemberComplete_ || result == Z_OK || result == Z_BUF_ERROR;
            if (!isGood && stream_.avail_out == size) {
                throw ReadError(path_ + ": " + (stream_.msg != nullptr ? stream_.msg : "damaged"));
            }
        }
        return size - stream_.avail_out;
    }

  private:
    bool ReadChunk() {
        stream_.next_in = reinterpret_cast<Bytef*>(chunk_.data());
        stream_.avail_in = static_cast<uInt>(file_.Read(chunk_.data(), chunk_.size()));
        if (stream_.avail_in == 0 && !isMemberComplete_) {
            throw ReadError(path_ + ": it ends early");
        }
        return stream_.avail_in > 0;
    }

    // What is no gzip data behind a whole member is padding. False: there is no other member.
    bool BeginMember() {
        if (hasMember_ && *stream_.next_in != kGzipMark) {
            stream_.avail_in = 0;
            return false;
        }
        hasMember_ = true;
        return ::inflateReset(&stream_) == Z_OK;
    }

    std::string path_;
    PlainFile file_;
    std::vector<char> chunk_ = std::vector<char>(kCompressedChunk);
    z_stream stream_{};
    bool isMemberComplete_ = true;
    bool hasMember_ = false;
    bool mayHoldMore_ = false;  // there was no room for all that is known
};

// Decodes block by block: damage costs no block before it.
class ZstdFile final : public CompressedSource {
  public:
    explicit ZstdFile(const std::string& path)
        : path_(path), file_(path), stream_(ZSTD_createDStream(), &ZSTD_freeDStream) {
        if (stream_ == nullptr) {
            throw std::bad_alloc();
        }
    }

    size_t Read(char* bytes, size_t size) override {
        ZSTD_outBuffer out{bytes, size, 0};
        while (out.pos == 0) {
            if (in_.pos == chunkSize_ && !mayHoldMore_) {
                in_ = {chunk_.data(), 0, 0};
                chunkSize_ = file_.Read(chunk_.data(), chunk_.size());
                if (chunkSize_ == 0) {
                    if (!isFrameComplete_) {
                        throw ReadError(path_ + ": it ends early");
                    }
                    return 0;
                }
            }
            // What is decoded already comes first, without anything that may be damaged.
            in_.size = mayHoldMore_ ? in_.pos : std::min(chunkSize_, in_.pos + wanted_);
            const size_t result = ZSTD_decompressStream(stream_.get(), &out, &in_);
            if (ZSTD_isError(result) != 0) {
                throw ReadError(path_ + ": " + ZSTD_getErrorName(result));
            }
            isFrameComplete_ = result == 0;
            wanted_ = isFrameComplete_ ? kZstdBeginning : result;
            mayHoldMore_ = out.pos == size && !isFrameComplete_;
        }
        return out.pos;
    }

  private:
    std::string path_;
    PlainFile file_;
    std::unique_ptr<ZSTD_DStream, size_t (*)(ZSTD_DStream*)> stream_;
    std::vector<char> chunk_ = std::vector<char>(kCompressedChunk);
    size_t chunkSize_ = 0;
    ZSTD_inBuffer in_{nullptr, 0, 0};
    size_t wanted_ = kZstdBeginning;  // so much completes the block, or the frame's header
    bool isFrameComplete_ = true;
    bool mayHoldMore_ = false;  // more was decoded than there was room for
};

FileDescriptor MakeTemporaryFile() {
    const char* const variable = std::getenv("TMPDIR");
    const std::string directory = variable != nullptr && *variable != '\0' ? variable : "/tmp";
    std::string name = directory + "/qvlog.XXXXXX";
    FileDescriptor file(::mkostemp(name.data(), O_CLOEXEC));
    if (!file.IsOpen()) {
        throw ReadError(directory + ": " + std::strerror(errno));
    }
    ::unlink(name.c_str());
    return file;
}

void WriteAll(int descriptor, const char* bytes, size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(descriptor, bytes, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            throw ReadError(std::string("temporary file: ") + std::strerror(errno));
        }
        bytes += written;
        size -= static_cast<size_t>(written);
    }
}

}  // namespace

bool IsCompressedName(const std::string& path) {
    return EndsWith(path, ".gz") || EndsWith(path, ".zst");
}

std::unique_ptr<ByteSource> OpenFile(const std::string& path) {
    if (EndsWith(path, ".gz")) {
        return std::make_unique<GzipFile>(path);
    }
    if (EndsWith(path, ".zst")) {
        return std::make_unique<ZstdFile>(path);
    }
    return std::make_unique<PlainFile>(path);
}

std::unique_ptr<ByteSource> OpenSeekable(const std::string& path, std::string& unread) {
    unread.clear();
    std::unique_ptr<ByteSource> source = OpenFile(path);
    if (source->IsPlain()) {
        return source;
    }
    FileDescriptor file = MakeTemporaryFile();
    std::vector<char> chunk(kCompressedChunk);
    const auto read = [&] {
        try {
            return source->Read(chunk.data(), chunk.size());
        } catch (const ReadError& error) {
            unread = error.what();
            return size_t{0};
        }
    };
    for (size_t size = 0; (size = read()) > 0;) {
        WriteAll(file.Get(), chunk.data(), size);
    }
    return std::make_unique<PlainFile>(std::move(file), path);
}

}  // namespace NS_LOG_READER
