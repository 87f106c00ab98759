#include "ship/arrivalcheck.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "input/bytesource.h"

namespace NS_LOG_FLEET {
namespace {

// Without the directory, and as it was before it was compressed.
std::string NameOf(const std::string& path) {
    const std::string name = path.substr(path.rfind('/') + 1);
    return NS_LOG_READER::IsCompressedName(name) ? name.substr(0, name.rfind('.')) : name;
}

// What a file holds.
struct Contents {
    std::string first;
    uint64_t size = 0;
};

Contents ReadContents(const std::string& path) {
    const std::unique_ptr<NS_LOG_READER::ByteSource> source = NS_LOG_READER::OpenFile(path);
    std::vector<char> bytes(size_t{64} * 1024);
    std::string beginning;
    Contents contents;
    while (const size_t size = source->Read(bytes.data(), bytes.size())) {
        contents.size += size;
        if (beginning.size() < kLongestFirst) {
            beginning.append(bytes.data(), size);
        }
        if (source->IsPlain() && beginning.size() >= kLongestFirst) {
            contents.size = source->Size();
            break;
        }
    }
    contents.first = FirstLine(beginning);
    return contents;
}

}  // namespace

ArrivalCheck::ArrivalCheck(std::string host, std::unique_ptr<Target> target)
    : host_(std::move(host)), target_(std::move(target)) {}

std::string ArrivalCheck::WhyItStays(const std::string& path) {
    const Contents contents = ReadContents(path);
    if (contents.size == 0) {
        return "";
    }
    const std::optional<KnownFile> known = target_->Find({host_, NameOf(path), contents.first});
    if (!known) {
        return "nothing of it has arrived";
    }
    if (known->isWantedAgain) {
        return "it is wanted again";
    }
    if (known->arrived < contents.size) {
        return std::to_string(known->arrived) + " of " + std::to_string(contents.size) +
               " bytes have arrived";
    }
    return known->isComplete ? "" : "its shipper has not told that it is done with it";
}

}  // namespace NS_LOG_FLEET
