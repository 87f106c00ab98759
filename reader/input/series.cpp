#include "input/series.h"

#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <map>
#include <set>
#include <tuple>
#include <utility>

#include "format/framing.h"
#include "input/bytesource.h"
#include "input/piecescanner.h"

namespace NS_LOG_READER {
namespace {

namespace fs = std::filesystem;

constexpr size_t kSecondLength = 15;

// How far a file is looked into for its first number.
constexpr int kFirstPieces = 64;

bool TakeEnd(std::string_view& text, std::string_view end) {
    if (text.size() < end.size() || text.substr(text.size() - end.size()) != end) {
        return false;
    }
    text.remove_suffix(end.size());
    return true;
}

// Of its original, or of another copy. `found` is sorted.
bool IsCopy(const std::string& path, const std::vector<std::string>& found) {
    const std::string original = path.substr(0, path.rfind(".log") + 4);
    for (const std::string& other : {original, original + ".gz"}) {
        if (other == path) {
            return false;
        }
        if (std::binary_search(found.begin(), found.end(), other)) {
            return true;
        }
    }
    return false;
}

bool IsSecond(std::string_view text) {
    for (size_t i = 0; i < text.size(); ++i) {
        if (i == 8 ? text[i] != '_' : text[i] < '0' || text[i] > '9') {
            return false;
        }
    }
    return text.size() == kSecondLength;
}

// Notes in `file` when it begins and its first number, as far as its beginning tells.
void LookInto(LogFile& file) {
    const std::unique_ptr<ByteSource> source = OpenFile(file.name.path);
    PieceScanner scanner(*source);
    Piece piece;
    bool hasTime = false;
    for (int i = 0; i < kFirstPieces && scanner.Next(piece); ++i) {
        const bool isMark = piece.kind == PieceKind::Created;
        std::string_view digits;
        std::string_view stamp = piece.bytes;
        stamp.remove_prefix(isMark ? kFileCreated.size() : OpeningTagLength(stamp, digits));
        hasTime = hasTime || ParseStamp(stamp, file.created) != 0;
        if (piece.kind == PieceKind::Frame ||
            (piece.kind == PieceKind::Torn && piece.number != 0)) {
            file.firstNumber = piece.number;
            return;
        }
    }
    if (!scanner.Error().empty() && !hasTime) {
        throw ReadError(scanner.Error());
    }
}

// What the first line says. No value: it says nothing, or the file cannot be read.
std::optional<Time> CreationOfContents(const std::string& path) {
    constexpr size_t longestStamp = 64;
    char bytes[kFileCreated.size() + longestStamp];
    Time created = 0;
    try {
        std::string_view text(bytes, OpenFile(path)->Read(bytes, sizeof bytes));
        if (text.substr(0, kFileCreated.size()) == kFileCreated) {
            text.remove_prefix(kFileCreated.size());
            return ParseStamp(text, created) != 0 ? std::optional<Time>(created) : std::nullopt;
        }
    } catch (const ReadError&) {
        // The name has to do.
    }
    return std::nullopt;
}

// Collects files, each once.
class Collection {
  public:
    explicit Collection(std::vector<std::string>& problems) : problems_(problems) {}

    void Add(const std::string& path) {
        std::error_code error;
        const fs::file_status status = fs::status(path, error);
        if (fs::is_directory(status)) {
            AddDirectory(path);
        } else if (!fs::exists(status)) {
            problems_.push_back(path + ": " + (error ? error.message() : "no such file"));
        } else {
            AddFile(path);
        }
    }

    std::vector<Series> Take();

  private:
    // Directory, category and process; of other files, path, "" and 0.
    using Key = std::tuple<std::string, std::string, int64_t>;

    void AddDirectory(const std::string& path) {
        std::error_code error;
        std::vector<std::string> found;
        for (fs::directory_iterator entry(path, error), end; !error && entry != end;
             entry.increment(error)) {
            const std::string file = entry->path().string();
            if (ParseLogFileName(file) && entry->is_regular_file(error)) {
                found.push_back(file);
            }
            error.clear();
        }
        if (error) {
            problems_.push_back(path + ": " + error.message());
        }
        std::sort(found.begin(), found.end());
        for (const std::string& file : found) {
            if (!IsCopy(file, found)) {
                AddFile(file);
            }
        }
    }

    void AddFile(const std::string& path) {
        const std::optional<NameParts> parts = ParseLogFileName(path);
        LogFile file;
        file.name.path = path;
        Key key{path, "", 0};
        if (parts) {
            file.name.category = parts->category;
            file.name.process = parts->process;
            key = {fs::path(path).parent_path().string(), parts->category, parts->process};
        }
        file.isCompressed = IsCompressedName(path);
        std::vector<LogFile>& files = files_[key];
        if (!IsNew(path)) {
            return;
        }
        try {
            LookInto(file);
            files.push_back(std::move(file));
        } catch (const ReadError& error) {
            problems_.emplace_back(error.what());
        }
    }

    // One file may have several paths.
    bool IsNew(const std::string& path) {
        struct stat status {};
        return ::stat(path.c_str(), &status) != 0 ||
               known_.emplace(status.st_dev, status.st_ino).second;
    }

    std::vector<std::string>& problems_;
    std::set<std::pair<dev_t, ino_t>> known_;
    std::map<Key, std::vector<LogFile>> files_;
};

// The number of the next file does not follow the one before: a new process with the same number.
// The comparison goes round, as the printed numbers do.
bool StartsAgain(uint32_t before, uint32_t next) {
    return static_cast<int32_t>(next - before) <= 0;
}

std::vector<Series> Collection::Take() {
    std::vector<Series> all;
    for (auto& [key, files] : files_) {
        Series place;
        std::tie(place.directory, place.category, place.process) = key;
        AddSeries(place, std::move(files), all);
    }
    SortSeries(all);
    return all;
}

}  // namespace

std::optional<NameParts> ParseLogFileName(const std::string& path) {
    std::string_view name = path;
    name.remove_prefix(name.rfind('/') + 1);
    if (!TakeEnd(name, ".gz")) {
        TakeEnd(name, ".zst");
    }
    constexpr std::string_view prefix = "unbi_";
    if (!TakeEnd(name, ".log") || name.substr(0, prefix.size()) != prefix) {
        return std::nullopt;
    }
    name.remove_prefix(prefix.size());
    const size_t process = name.rfind('_');
    NameParts parts;
    // From the right: categories hold underscores too.
    if (process == std::string_view::npos || process < kSecondLength + 1) {
        return std::nullopt;
    }
    const auto [end, error] =
        std::from_chars(name.data() + process + 1, name.data() + name.size(), parts.process);
    const size_t second = process - kSecondLength;
    if (error != std::errc() || end != name.data() + name.size() || name[second - 1] != '_' ||
        !IsSecond(name.substr(second, kSecondLength))) {
        return std::nullopt;
    }
    parts.second = std::string(name.substr(second, kSecondLength));
    parts.category = std::string(name.substr(0, second - 1));
    return parts;
}

std::optional<Time> ReadCreation(const std::string& path) {
    const std::optional<NameParts> name = ParseLogFileName(path);
    if (!name) {
        return std::nullopt;
    }
    if (const std::optional<Time> created = CreationOfContents(path)) {
        return created;
    }
    struct tm local {};
    local.tm_isdst = -1;
    ::strptime(name->second.c_str(), "%Y%m%d_%H%M%S", &local);
    return static_cast<Time>(::mktime(&local)) * kMicrosPerSecond;
}

void AddSeries(const Series& place, std::vector<LogFile> files, std::vector<Series>& all) {
    std::stable_sort(files.begin(), files.end(),
                     [](const LogFile& a, const LogFile& b) { return a.created < b.created; });
    uint32_t last = 0;
    for (LogFile& file : files) {
        const bool startsAgain =
            last != 0 && file.firstNumber != 0 && StartsAgain(last, file.firstNumber);
        if (&file == &files.front() || startsAgain) {
            all.push_back(place);
        }
        last = file.firstNumber != 0 ? file.firstNumber : last;
        all.back().files.push_back(std::move(file));
    }
}

void SortSeries(std::vector<Series>& all) {
    std::stable_sort(all.begin(), all.end(), [](const Series& a, const Series& b) {
        return a.files.front().created < b.files.front().created;
    });
}

std::vector<Series> FindSeries(const std::vector<std::string>& paths,
                               std::vector<std::string>& problems) {
    Collection collection(problems);
    for (const std::string& path : paths) {
        collection.Add(path);
    }
    return collection.Take();
}

}  // namespace NS_LOG_READER
