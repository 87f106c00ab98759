// The context header: which operation a record belongs to.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/decimaltext.h"

namespace NS_LOG_SERVICE1 {

// The calling thread's operation as one line of text:
//
//     <operation UUID>,TopT:<thread number>,If:<interface name>,UserMsg:<user information>
//
// All labels and separators are always present. An item that the context lacks is empty.
std::string BuildContextHeader();

// The same, made again and again in the same memory.
//
// Thread safety: none.
class ContextHeader {
  public:
    // Of the calling thread.
    void Build();

    // Valid until the next Build.
    std::string_view Text() const { return {memory_.data(), size_}; }

    // Of the memory.
    size_t Capacity() const { return memory_.capacity(); }

    // Frees memory of more than `size` bytes, with the text.
    void FreeIfLarger(size_t size) {
        if (Capacity() > size) {
            std::string().swap(memory_);
            size_ = 0;
            uuidSize_ = 0;
        }
    }

  private:
    char* Put(char* at, std::string_view label, std::string_view item);
    char* Grow(size_t kept, size_t size);
    void MakeRoomForUuid(size_t uuidSize);

    std::string memory_;  // the text, and after it what is left of longer ones
    size_t size_ = 0;     // of the text
    size_t uuidSize_ = 0;
    DecimalText threadId_;
};

}  // namespace NS_LOG_SERVICE1
