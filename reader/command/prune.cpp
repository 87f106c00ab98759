#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>
#include <tuple>
#include <utility>

#include "command/commands.h"
#include "command/verification.h"
#include "input/bytesource.h"
#include "input/filedescriptor.h"
#include "output/output.h"
#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

namespace fs = std::filesystem;

struct Candidate {
    std::string path;
    NameParts name;
    Time created = 0;
    Time changed = 0;
    uint64_t size = 0;
    bool isRemoved = false;
};

// By creation; of files that were created at once, the names decide. The time in a name has no
// zone: a clock that is set back gives the newer file the older name.
bool IsOlder(const Candidate& a, const Candidate& b) {
    return std::tie(a.created, a.path) < std::tie(b.created, b.path);
}

// Asks for a lease for reading. It is refused while somebody has the file open for writing,
// whatever container that one lives in. 0: it was granted; EAGAIN: somebody has; else it cannot be
// told.
int AskForLease(const std::string& path) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen() || ::fcntl(file.Get(), F_SETLEASE, F_RDLCK) != 0) {
        return errno;
    }
    ::fcntl(file.Get(), F_SETLEASE, F_UNLCK);
    return 0;
}

// Removes files until what is kept is what was asked for.
class Pruning {
  public:
    explicit Pruning(const Options& options) : options_(options), output_(STDOUT_FILENO) {}

    ExitCode Run() {
        try {
            guard_ = options_.openGuard ? options_.openGuard() : FileGuard();
            RemoveAll();
        } catch (const std::exception& error) {
            Complain(error.what());
        }
        output_.Flush();
        return hasTrouble_ ? ExitCode::Trouble
               : removed_  ? ExitCode::Found
                           : ExitCode::NothingFound;
    }

  private:
    void Complain(const std::string& text) {
        hasTrouble_ = true;
        std::fprintf(stderr, "qvlog: %s\n", text.c_str());
    }

    void RemoveAll() {
        for (const std::string& path : options_.paths) {
            Collect(path);
        }
        std::sort(files_.begin(), files_.end(), IsOlder);
        Protect();
        RemoveOld();
        KeepNewest();
        KeepSize();
    }

    void Collect(const std::string& path) {
        std::error_code error;
        if (!fs::is_directory(path, error)) {
            error ? Complain(path + ": " + error.message()) : Add(path);
            return;
        }
        for (const auto& entry : fs::directory_iterator(path, error)) {
            Add(entry.path().string());
        }
        if (error) {
            Complain(path + ": " + error.message());
        }
    }

    void Add(const std::string& path) {
        struct stat status {};
        const std::optional<NameParts> name = ParseLogFileName(path);
        if (!name || ::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
            return;
        }
        // Another path may lead to the same file, which counts once.
        if (found_.emplace(status.st_dev, status.st_ino).second) {
            files_.push_back({path, *name, ReadCreation(path).value_or(0),
                              status.st_mtim.tv_sec * kMicrosPerSecond,
                              static_cast<uint64_t>(status.st_size), false});
        }
    }

    // The newest file of a process that lives stays.
    void Protect() {
        std::set<std::pair<std::string, int64_t>> seen;
        for (auto file = files_.rbegin(); file != files_.rend(); ++file) {
            const bool isNewest = seen.emplace(file->name.category, file->name.process).second;
            if (isNewest && IsAlive(file->name.process)) {
                protected_.insert(file->path);
            }
        }
    }

    // Whatever is not surely closed stays. The reason is told of the first file that has it: with
    // another owner or on some file systems no file is surely closed.
    bool MayBeWritten(const std::string& path) {
        const int reason = AskForLease(path);
        if (reason != 0 && reason != EAGAIN && reasons_.insert(reason).second) {
            Complain(path + ": kept, as it cannot be told whether it is being written: " +
                     std::strerror(reason));
        }
        return reason != 0;
    }

    // A file that cannot be read stays, and the others are asked for.
    bool IsGuarded(const std::string& path) {
        if (!guard_) {
            return false;
        }
        std::string reason;
        try {
            reason = guard_(path);
        } catch (const ReadError& error) {
            Complain(error.what());
            return true;
        }
        if (!reason.empty()) {
            output_.Put("kept " + path + ": " + reason + "\n");
        }
        return !reason.empty();
    }

    void Remove(Candidate& file) {
        if (file.isRemoved || protected_.count(file.path) != 0) {
            return;
        }
        if (MayBeWritten(file.path) || IsGuarded(file.path)) {
            // One that is to go for two reasons is asked for once.
            protected_.insert(file.path);
            return;
        }
        if (!options_.dryRun && ::unlink(file.path.c_str()) != 0) {
            Complain(file.path + ": " + std::strerror(errno));
            return;
        }
        file.isRemoved = true;
        removed_ = true;
        output_.Put(options_.dryRun ? "would remove " : "removed ");
        output_.Put(file.path);
        output_.Put(" (");
        output_.PutNumber(static_cast<int64_t>(file.size));
        output_.Put(" bytes)\n");
    }

    void RemoveOld() {
        for (Candidate& file : files_) {
            if (options_.olderThan && file.changed < *options_.olderThan) {
                Remove(file);
            }
        }
    }

    void KeepNewest() {
        std::map<std::string, uint64_t> kept;
        for (auto file = files_.rbegin(); options_.keep && file != files_.rend(); ++file) {
            if (!file->isRemoved && ++kept[file->name.category] > *options_.keep) {
                Remove(*file);
            }
        }
    }

    void KeepSize() {
        uint64_t size = 0;
        for (const Candidate& file : files_) {
            size += file.isRemoved ? 0 : file.size;
        }
        for (Candidate& file : files_) {
            if (options_.maxBytes && size > *options_.maxBytes && !file.isRemoved) {
                Remove(file);
                size -= file.isRemoved ? file.size : 0;
            }
        }
    }

    const Options& options_;
    Output output_;
    FileGuard guard_;               // null: none
    std::vector<Candidate> files_;  // the oldest first
    std::set<std::pair<dev_t, ino_t>> found_;
    std::set<std::string> protected_;
    std::set<int> reasons_;  // why it could not be told of files whether they are written
    bool removed_ = false;
    bool hasTrouble_ = false;
};

}  // namespace

ExitCode RunPrune(const Options& options) {
    if (options.keep || options.maxBytes || options.olderThan) {
        return Pruning(options).Run();
    }
    if (!options.openGuard) {
        throw BadRequest("prune: what is to be kept? --keep, --max-bytes or --older-than");
    }
    // The guard says it alone.
    Options all = options;
    all.keep = 0;
    return Pruning(all).Run();
}

}  // namespace NS_LOG_READER
