// Splits a stream of bytes into lines.
#include "linefeed/linesplitter.h"

#include <cstring>
#include <utility>

namespace NS_REFERENCE_HOST {

LineSplitter::LineSplitter(Sink sink) : sink_(std::move(sink)) {}

void LineSplitter::Add(const char* data, std::size_t size) {
    const char* const end = data + size;
    while (data != end) {
        const void* const found = std::memchr(data, '\n', static_cast<std::size_t>(end - data));
        if (found == nullptr) {
            line_.append(data, end);
            return;
        }
        const char* const newline = static_cast<const char*>(found);
        line_.append(data, newline);
        sink_(line_);
        line_.clear();
        data = newline + 1;
    }
}

void LineSplitter::Finish() {
    if (!line_.empty()) {
        sink_(line_);
        line_.clear();
    }
}

}  // namespace NS_REFERENCE_HOST
