// Cuts a stream of bytes into lines.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace NS_REFERENCE_HOST {

// A line is what stands between two newlines; everything else, carriage returns and zero bytes
// included, is part of a line. There is no longest line but by memory.
//
// Thread safety: one thread.
class LineSplitter {
  public:
    // Gets each line, without its newline, and may change it.
    using Sink = std::function<void(std::string& line)>;

    explicit LineSplitter(Sink sink);

    // Takes the next `size` bytes of the stream and passes on the lines that they complete.
    void Add(const char* data, std::size_t size);

    // Passes on what stands behind the last newline, if anything does.
    void Finish();

  private:
    Sink sink_;
    std::string line_;  // the line that is not complete yet; its storage is reused
};

}  // namespace NS_REFERENCE_HOST
