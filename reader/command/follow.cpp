#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <utility>

#include "command/changewatch.h"
#include "command/commands.h"
#include "command/followedfile.h"
#include "command/followoutput.h"
#include "command/session.h"
#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

namespace fs = std::filesystem;

class Follow {
  public:
    explicit Follow(const Options& options) : options_(options), output_(options) {}

    ExitCode Run() {
        WatchAll();
        FindFiles(true);
        try {
            output_.Begin();
            PrintPast();
            for (bool goesOn = true; goesOn;) {
                // Files are looked at once more after the last process has ended.
                goesOn = !options_.endsWithAgent || watch_.HasProcess();
                goesOn = goesOn && watch_.Wait();
                FindFiles(false);
                PrintNew();
            }
        } catch (const OutputClosed&) {
            // As much was wanted as was read.
        }
        return output_.Exit();
    }

  private:
    void WatchAll() {
        std::set<std::string> directories;
        for (const std::string& path : options_.paths) {
            const std::string parent = fs::path(path).parent_path().string();
            directories.insert(fs::is_directory(path) ? path : parent.empty() ? "." : parent);
        }
        for (const std::string& directory : directories) {
            watch_.WatchDirectory(directory);
        }
    }

    // Opens what there is new. `isFirst`: what these files hold is past.
    void FindFiles(bool isFirst) {
        for (const std::string& path : options_.paths) {
            std::error_code error;
            if (!fs::is_directory(path, error)) {
                AddFile(path, isFirst);
                continue;
            }
            for (const auto& entry : fs::directory_iterator(path, error)) {
                AddFile(entry.path().string(), isFirst);
            }
        }
    }

    bool IsWanted(const std::string& path, LogFileName& name) const {
        name.path = path;
        const std::optional<NameParts> parts = ParseLogFileName(path);
        if (!parts || path.compare(path.size() - 4, 4, ".log") != 0) {
            return false;
        }
        name.category = parts->category;
        name.process = parts->process;
        Series series;
        series.category = name.category;
        series.process = name.process;
        return options_.selection.Wants(series);
    }

    void AddFile(const std::string& path, bool isFirst) {
        LogFileName name;
        struct stat status {};
        if (!IsWanted(path, name) || ::stat(path.c_str(), &status) != 0 ||
            !known_.emplace(path, status.st_ino).second || IsOpen(status)) {
            return;
        }
        try {
            auto file = std::make_unique<FollowedFile>(name, series_++);
            if (isFirst) {
                file->SkipToEnd();
            }
            if (isFirst && file->IsClosed()) {
                return;
            }
            if (options_.endsWithAgent) {
                watch_.WatchProcess(name.process);
            }
            files_.push_back(std::move(file));
        } catch (const ReadError& error) {
            output_.Problems().NoteTrouble(error.what());
        }
    }

    // A file that was renamed is still followed.
    bool IsOpen(const struct stat& status) const {
        return std::any_of(files_.begin(), files_.end(),
                           [&](const auto& file) { return file->IsFile(status); });
    }

    // The last records that stood there when the files were opened.
    void PrintPast() {
        std::map<std::string, uint64_t> ends;
        for (const auto& file : files_) {
            ends[file->Name().path] = file->Offset();
        }
        Session session(options_);
        output_.PrintPast(*session.Open(output_.GetMatcher(), {}, true), [&](const Found& found) {
            const auto end = ends.find(found.record.origin->path);
            return known_.count({found.record.origin->path, Inode(found)}) != 0 &&
                   (end == ends.end() || found.record.offset < end->second);
        });
    }

    static ino_t Inode(const Found& found) {
        struct stat status {};
        return ::stat(found.record.origin->path.c_str(), &status) == 0 ? status.st_ino : 0;
    }

    // Everything that was written since the last look, by time.
    void PrintNew() {
        std::vector<KeptRecord> fresh;
        for (const auto& file : files_) {
            try {
                file->ReadNew(output_.GetMatcher(), output_.Problems(),
                              [&](const Found& found) { fresh.emplace_back(found); });
            } catch (const ReadError& error) {
                output_.Problems().NoteTrouble(error.what());
            }
        }
        output_.PrintNew(std::move(fresh));
        CloseDoneFiles();
    }

    // The newest file of a process may be emptied and written again, even when it was closed.
    bool IsDone(const FollowedFile& file) const {
        const LogFileName& name = file.Name();
        return file.IsClosed() && std::any_of(files_.begin(), files_.end(), [&](const auto& other) {
                   return other->Name().category == name.category &&
                          other->Name().process == name.process && other->Name().path > name.path;
               });
    }

    void CloseDoneFiles() {
        // Judged before any is removed.
        std::vector<std::unique_ptr<FollowedFile>> kept;
        std::vector<bool> isDone;
        for (auto& file : files_) {
            isDone.push_back(IsDone(*file));
        }
        for (size_t i = 0; i < files_.size(); ++i) {
            if (!isDone[i]) {
                kept.push_back(std::move(files_[i]));
            }
        }
        files_ = std::move(kept);
    }

    const Options& options_;
    FollowOutput output_;
    ChangeWatch watch_;
    std::vector<std::unique_ptr<FollowedFile>> files_;
    std::set<std::pair<std::string, ino_t>> known_;
    size_t series_ = 0;
};

}  // namespace

ExitCode RunFollow(const Options& options) {
    if (options.before + options.after > 0 || options.story || options.reverse || options.count) {
        throw BadRequest("--follow goes with neither context, --story, --reverse nor --count");
    }
    return options.store.empty() ? Follow(options).Run() : RunFollowStore(options);
}

}  // namespace NS_LOG_READER
