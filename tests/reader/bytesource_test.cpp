#include "input/bytesource.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <zlib.h>
#include <zstd.h>

#include "input/filedescriptor.h"
#include "reader/logtext.h"
#include "reader/scanfile.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

namespace {

using namespace NS_LOG_READER;
using namespace NS_TEST;

std::string Gzip(const std::string& text) {
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, text.size()) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

std::string Zstd(const std::string& text, bool hasChecksum = true) {
    ZSTD_CCtx* const context = ZSTD_createCCtx();
    ZSTD_CCtx_setParameter(context, ZSTD_c_checksumFlag, hasChecksum ? 1 : 0);
    std::string packed(ZSTD_compressBound(text.size()) + 64, '\0');
    packed.resize(ZSTD_compress2(context, packed.data(), packed.size(), text.data(), text.size()));
    ZSTD_freeCCtx(context);
    return packed;
}

std::string ReadAll(ByteSource& source) {
    std::string text;
    char chunk[5000];
    for (size_t size = 0; (size = source.Read(chunk, sizeof chunk)) > 0;) {
        text.append(chunk, size);
    }
    return text;
}

class ByteSources : public DirectoryTest {
  protected:
    std::string text_ = std::string(300000, 'x') + "end";
};

TEST_F(ByteSources, GiveTheContentsOfPlainAndCompressedFiles) {
    WriteFile(Path("a.log"), text_);
    WriteFile(Path("a.log.gz"), Gzip(text_.substr(0, 1000)) + Gzip(text_.substr(1000)));
    WriteFile(Path("a.log.zst"), Zstd(text_.substr(0, 1000)) + Zstd(text_.substr(1000)));
    for (const char* name : {"a.log", "a.log.gz", "a.log.zst"}) {
        EXPECT_EQ(ReadAll(*OpenFile(Path(name))), text_) << name;
        std::string unread;
        const auto source = OpenSeekable(Path(name), unread);
        EXPECT_EQ(unread, "") << name;
        EXPECT_EQ(source->Size(), text_.size()) << name;
        source->Seek(300000);
        EXPECT_EQ(ReadAll(*source), "end") << name;
    }
}

TEST_F(ByteSources, SayWhatIsWrongAfterWhatIsRight) {
    std::string text;
    for (uint32_t i = 1; i < 3000; ++i) {
        LogFields fields;
        fields.detail = std::to_string(i * 2654435761U);
        text += LogFrame(i, fields);
    }
    WriteFile(Path("a.gz"), Gzip(text).substr(0, 20000));
    WriteFile(Path("b.zst"), Zstd(text).substr(0, 20000));
    WriteFile(Path("c.gz"), "\x1f\x8b no gzip");
    for (const char* name : {"a.gz", "b.zst", "c.gz"}) {
        const auto source = OpenFile(Path(name));
        PieceScanner scanner(*source);
        Piece piece;
        int frames = 0;
        while (scanner.Next(piece)) {
            frames += piece.kind == PieceKind::Frame ? 1 : 0;
        }
        EXPECT_NE(scanner.Error(), "") << name;
        EXPECT_EQ(frames > 100, name[0] != 'c') << name;
    }
    EXPECT_THROW(OpenFile(Path("none.log")), ReadError);
    EXPECT_THROW(OpenFile(Path("none.gz")), ReadError);
}

// A wrong check sum is found behind the last byte.
TEST_F(ByteSources, GiveAllThatStandsBeforeDamage) {
    std::string gzip = Gzip(text_);
    gzip[gzip.size() - 5] ^= 1;
    WriteFile(Path("a.gz"), gzip);
    std::string zstd = Zstd(text_);
    zstd.back() ^= 1;
    WriteFile(Path("b.zst"), zstd);
    for (const char* name : {"a.gz", "b.zst"}) {
        std::string read;
        std::string error;
        const auto source = OpenFile(Path(name));
        char chunk[5000];
        try {
            for (size_t size = 0; (size = source->Read(chunk, sizeof chunk)) > 0;) {
                read.append(chunk, size);
            }
        } catch (const ReadError& damage) {
            error = damage.what();
        }
        EXPECT_TRUE(read == text_) << name << " " << read.size();
        EXPECT_NE(error, "") << name;
        EXPECT_EQ(error.find(Path(name)), 0U) << error;
        EXPECT_EQ(error.rfind(Path(name)), 0U) << error;
        std::string unread;
        EXPECT_EQ(OpenSeekable(Path(name), unread)->Size(), text_.size()) << name;
        EXPECT_EQ(unread, error);
    }
}

TEST_F(ByteSources, PassOverWhatStandsBehindTheLastMember) {
    WriteFile(Path("a.gz"), Gzip(text_) + std::string(512, '\0'));
    EXPECT_EQ(ReadAll(*OpenFile(Path("a.gz"))), text_);
    WriteFile(Path("empty.gz"), "");
    EXPECT_EQ(ReadAll(*OpenFile(Path("empty.gz"))), "");
}

// Nothing follows the last block then, no check sum either.
TEST_F(ByteSources, EndWhereTheBufferOfTheReaderDoes) {
    const std::string text(size_t{2} * 128 * 1024, 'x');
    WriteFile(Path("a.gz"), Gzip(text));
    WriteFile(Path("b.zst"), Zstd(text, false));
    WriteFile(Path("c.zst"), Zstd(text, false) + Zstd(text, false));
    for (const char* name : {"a.gz", "b.zst", "c.zst"}) {
        std::string unread;
        const auto source = OpenSeekable(Path(name), unread);
        EXPECT_EQ(unread, "") << name;
        EXPECT_EQ(source->Size(), text.size() * (name[0] == 'c' ? 2 : 1)) << name;
    }
}

TEST_F(ByteSources, RefusePipesWhateverTheirNames) {
    for (const char* name : {"a.log", "a.log.gz", "a.log.zst"}) {
        ASSERT_EQ(::mkfifo(Path(name).c_str(), 0600), 0);
        // With a writer, opening the pipe does not wait.
        const FileDescriptor writer(::open(Path(name).c_str(), O_RDWR | O_CLOEXEC));
        ASSERT_TRUE(writer.IsOpen());
        EXPECT_THROW(OpenFile(Path(name)), ReadError) << name;
    }
}

}  // namespace
