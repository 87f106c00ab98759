#include <cstring>

#include "query/recordstream.h"

namespace NS_LOG_READER {

KeptRecord::KeptRecord(const Found& found)
    : bytes_(new char[found.record.bytes.size()]), found_(found) {
    Record& record = found_.record;
    std::memcpy(bytes_.get(), record.bytes.data(), record.bytes.size());
    const char* const from = record.bytes.data();
    const auto move = [&](std::string_view& text) {
        if (!text.empty()) {
            text = {bytes_.get() + (text.data() - from), text.size()};
        } else {
            text = {};
        }
    };
    for (std::string_view* text :
         {&record.stamp, &record.operation, &record.interface, &record.user, &record.file,
          &record.function, &record.detail, &record.text}) {
        move(*text);
    }
    record.bytes = {bytes_.get(), record.bytes.size()};
}

}  // namespace NS_LOG_READER
