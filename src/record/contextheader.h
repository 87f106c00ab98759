// The context header: which operation a record belongs to.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/decimaltext.h"

namespace NS_LOG_SERVICE1 {

// The calling thread's operation as one line of text: <operation UUID>,TopT:<thread
// number>,If:<interface name>,UserMsg:<user information> All labels and separators are always
// present. An item that the context lacks is empty.
std::string BuildContextHeader();

// The same, made again and again in the same memory.
//
// Thread safety: none.
class ContextHeader {
  public:
    // Of the calling thread.
    void Build();

    // Valid until the next Build.
    std::string_view Text() const { return text_; }

    // Of the memory; frees what is more than `size`, with the text.
    size_t Capacity() const { return text_.capacity(); }
    void FreeIfLarger(size_t size) {
        if (Capacity() > size) {
            std::string().swap(text_);
        }
    }

  private:
    std::string text_;
    DecimalText threadId_;
};

}  // namespace NS_LOG_SERVICE1
