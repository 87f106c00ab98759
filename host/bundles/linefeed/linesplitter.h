// Splits a stream of bytes into lines.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace NS_REFERENCE_HOST {

// Only newlines end a line: carriage returns and zero bytes are part of it. Only memory limits the
// length of a line.
//
// Thread safety: one thread.
class LineSplitter {
  public:
    // Gets each line, without its newline, and may change it.
    using Sink = std::function<void(std::string& line)>;

    explicit LineSplitter(Sink sink);

    // Takes the next `size` bytes of the stream and passes on each line that they complete.
    void Add(const char* data, std::size_t size);

    // Passes on the text after the last newline, if there is any.
    void Finish();

  private:
    Sink sink_;
    std::string line_;  // the line that is not complete yet; its storage is reused
};

}  // namespace NS_REFERENCE_HOST
