#include "record/packedrecord.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/copytext.h"

namespace NS_LOG_SERVICE1 {
namespace {

// Precedes the texts, which follow without separators in the order of the lengths.
struct PackedHeader {
    size_t packedSize;
    ACE_Time_Value time;
    int32_t level;
    pthread_t thread;
    size_t fileLength;
    size_t functionLength;
    size_t detailLength;
    size_t contextLength;
    uint32_t line;
};

// Most records fit, so that blocks can be exchanged without a look at the record.
constexpr size_t kUsualSize = 512;

constexpr size_t kAlignment = alignof(PackedHeader);
static_assert(kAlignment <= alignof(std::max_align_t), "blocks from new must suffice");

std::string_view Take(const char*& at, size_t length) {
    const std::string_view text(at, length);
    at += length;
    return text;
}

const PackedHeader& HeaderAt(const std::byte* bytes) {
    return *std::launder(reinterpret_cast<const PackedHeader*>(bytes));
}

}  // namespace

size_t PackedSize(const LogRecord& record) {
    const size_t size = sizeof(PackedHeader) + record.file.size() + record.function.size() +
                        record.detail.size() + record.context.size();
    return (size + kAlignment - 1) / kAlignment * kAlignment;
}

void Pack(const LogRecord& record, std::byte* bytes) {
    new (bytes) PackedHeader{PackedSize(record),   record.time,           record.level,
                             record.thread,        record.file.size(),    record.function.size(),
                             record.detail.size(), record.context.size(), record.line};
    char* at = reinterpret_cast<char*>(bytes + sizeof(PackedHeader));
    for (const std::string_view text :
         {record.file, record.function, record.detail, record.context}) {
        at = CopyText(at, text.data(), text.size());
    }
}

LogRecord Unpack(const std::byte* bytes) {
    const PackedHeader& header = HeaderAt(bytes);
    LogRecord record;
    record.level = header.level;
    record.time = header.time;
    record.thread = header.thread;
    record.line = header.line;
    const char* at = reinterpret_cast<const char*>(bytes + sizeof(PackedHeader));
    record.file = Take(at, header.fileLength);
    record.function = Take(at, header.functionLength);
    record.detail = Take(at, header.detailLength);
    record.context = Take(at, header.contextLength);
    return record;
}

size_t PackedSizeAt(const std::byte* bytes) {
    return HeaderAt(bytes).packedSize;
}

void PackedRecord::Set(const LogRecord& record) {
    const size_t size = PackedSize(record);
    // A block that is much larger than the record is replaced too. Otherwise a few long records
    // would leave many large blocks.
    const bool wasteful = capacity_ > kUsualSize && size < capacity_ / 4;
    if (size > capacity_ || wasteful) {
        const size_t capacity = std::max(size, kUsualSize);
        bytes_.reset(new std::byte[capacity]);
        capacity_ = capacity;
    }
    Pack(record, bytes_.get());
}

}  // namespace NS_LOG_SERVICE1
