// The bytes of a log file, plain or compressed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

namespace NS_LOG_READER {

// A file cannot be read, or what it holds is no valid compressed data.
class ReadError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Reads a file from its beginning to its end, or from a place that Seek chose. Files are read, not
// mapped: one that is cut short underneath ends early, where a mapping would raise a signal.
//
// Thread safety: none.
class ByteSource {
  public:
    virtual ~ByteSource() = default;

    // Reads up to `size` bytes, as many as are there. Returns how many; 0: the end, for now.
    virtual size_t Read(char* bytes, size_t size) = 0;

    // Goes on at `offset`. Only for plain files.
    virtual void Seek(uint64_t offset) = 0;

    // The size of the contents; only for plain files.
    virtual uint64_t Size() const = 0;

    virtual bool IsPlain() const = 0;
};

// Opens a file; its name's ending (.gz, .zst) says whether it is compressed. Throws ReadError.
std::unique_ptr<ByteSource> OpenFile(const std::string& path);

// The same with compressed contents unpacked into an unnamed temporary file first, so that any
// place can be read. `unread` says why they end early; empty: they do not. Throws ReadError.
std::unique_ptr<ByteSource> OpenSeekable(const std::string& path, std::string& unread);

// Whether the name ends as those of compressed files do.
bool IsCompressedName(const std::string& path);

}  // namespace NS_LOG_READER
