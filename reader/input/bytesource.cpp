#include "input/bytesource.h"

#include <fcntl.h>
#include <zlib.h>
#include <zstd.h>

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

class GzipFile final : public CompressedSource {
  public:
    explicit GzipFile(const std::string& path) : path_(path) {
        RefusePipe(path);
        file_ = gzopen(path.c_str(), "rbe");
        if (file_ == nullptr) {
            throw ReadError(path + ": " + std::strerror(errno));
        }
        gzbuffer(file_, kCompressedChunk);
    }
    ~GzipFile() override { gzclose(file_); }

    GzipFile(const GzipFile&) = delete;
    GzipFile& operator=(const GzipFile&) = delete;

    size_t Read(char* bytes, size_t size) override {
        const int result = gzread(file_, bytes, static_cast<unsigned>(size));
        if (result > 0) {
            return static_cast<size_t>(result);
        }
        int code = Z_OK;
        const char* const message = gzerror(file_, &code);
        if (result < 0 || (code != Z_OK && code != Z_STREAM_END)) {
            throw ReadError(path_ + ": " + (code == Z_BUF_ERROR ? "it ends early" : message));
        }
        return 0;
    }

  private:
    std::string path_;
    gzFile file_ = nullptr;
};

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
            if (in_.pos == in_.size) {
                in_ = {chunk_.data(), file_.Read(chunk_.data(), chunk_.size()), 0};
                if (in_.size == 0) {
                    if (!isFrameComplete_) {
                        throw ReadError(path_ + ": it ends early");
                    }
                    return 0;
                }
            }
            const size_t result = ZSTD_decompressStream(stream_.get(), &out, &in_);
            if (ZSTD_isError(result) != 0) {
                throw ReadError(path_ + ": " + ZSTD_getErrorName(result));
            }
            isFrameComplete_ = result == 0;
        }
        return out.pos;
    }

  private:
    std::string path_;
    PlainFile file_;
    std::unique_ptr<ZSTD_DStream, size_t (*)(ZSTD_DStream*)> stream_;
    std::vector<char> chunk_ = std::vector<char>(kCompressedChunk);
    ZSTD_inBuffer in_{nullptr, 0, 0};
    bool isFrameComplete_ = true;
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

std::unique_ptr<ByteSource> OpenSeekable(const std::string& path) {
    std::unique_ptr<ByteSource> source = OpenFile(path);
    if (source->IsPlain()) {
        return source;
    }
    FileDescriptor file = MakeTemporaryFile();
    std::vector<char> chunk(kCompressedChunk);
    for (size_t size = 0; (size = source->Read(chunk.data(), chunk.size())) > 0;) {
        WriteAll(file.Get(), chunk.data(), size);
    }
    return std::make_unique<PlainFile>(std::move(file), path);
}

}  // namespace NS_LOG_READER
