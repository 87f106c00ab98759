// The first and the last line of a log file.
#pragma once

#include <string>
#include <string_view>

#include "channel/framebuffer.h"

namespace NS_LOG_SERVICE1 {

// Made in memory that is there from the beginning: a file must not lack a line because there is no
// memory for it.
//
// Thread safety: none; the owner's lock guards it.
class FileLines {
  public:
    // More than the first line needs.
    static constexpr size_t kFirstLineSize = 128;

    FileLines() {
        line_.Reserve(kFirstLineSize);
        stamp_.reserve(kFirstLineSize);
    }

    // Both show the present time. Valid until the next call.
    std::string_view Created();
    std::string_view Closed();

  private:
    const std::string& StampNow();

    FrameBuffer line_;
    std::string stamp_;
};

}  // namespace NS_LOG_SERVICE1
