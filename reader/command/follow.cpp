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
#include "command/verification.h"
#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

namespace fs = std::filesystem;

// Of a log file that may still be written; compressed ones are not.
std::optional<NameParts> ParseFollowedName(const std::string& path) {
    return IsCompressedName(path) ? std::nullopt : ParseLogFileName(path);
}

// Nothing would ever come from another path.
void RequireFollowed(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        std::error_code error;
        if (!fs::is_directory(path, error) && !ParseFollowedName(path)) {
            throw BadRequest(path + (fs::exists(path, error)
                                         ? ": only files with the name of a log file are followed"
                                         : ": no such file or directory"));
        }
    }
}

class Follow {
  public:
    explicit Follow(const Options& options) : options_(options), output_(options) {}

    ExitCode Run() {
        FindDirectories();
        WatchAll(true);
        FindFiles(true);
        try {
            output_.Begin();
            PrintPast();
            for (bool goesOn = true; goesOn;) {
                // Files are looked at once more after the last process has ended.
                goesOn = !options_.endsWithAgent || watch_.HasProcess();
                goesOn = goesOn && watch_.Wait();
                Look();
            }
        } catch (const OutputClosed&) {
            // As much was wanted as was read.
        }
        return output_.Exit();
    }

  private:
    void FindDirectories() {
        for (const std::string& path : options_.paths) {
            const std::string parent = fs::path(path).parent_path().string();
            directories_.insert(fs::is_directory(path) ? path : parent.empty() ? "." : parent);
        }
    }

    // Others may have taken the place of directories since the last look.
    void WatchAll(bool isFirst) {
        for (const std::string& directory : directories_) {
            try {
                watch_.WatchDirectory(directory);
                gone_.erase(directory);
            } catch (const ReadError& error) {
                if (isFirst) {
                    throw;
                }
                if (gone_.insert(directory).second) {
                    output_.Problems().NoteTrouble(error.what());
                }
            }
        }
    }

    // Links to files are followed: what is written to those is told where they stand.
    void WatchTarget(const std::string& path) {
        std::error_code error;
        if (fs::is_symlink(path, error)) {
            const std::string directory = fs::canonical(path, error).parent_path().string();
            watch_.WatchDirectory(directory);
            directories_.insert(directory);
        }
    }

    // Prints what has come. What could not be opened may be when others are closed.
    void Look() {
        bool wasClosed = true;
        while (wasClosed) {
            WatchAll(false);
            FindFiles(false);
            wasClosed = PrintNew() && !unopened_.empty();
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
        const std::optional<NameParts> parts = ParseFollowedName(path);
        if (!parts) {
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
        if (!IsWanted(path, name) || ::stat(path.c_str(), &status) != 0) {
            return;
        }
        const std::pair<std::string, ino_t> file(path, status.st_ino);
        if (!known_.insert(file).second || IsOpen(status)) {
            return;
        }
        try {
            WatchTarget(path);
            const auto unopened = unopened_.find(file);
            const off_t past = unopened != unopened_.end() ? unopened->second : 0;
            OpenNew(name, isFirst ? status.st_size : past, isFirst);
            unopened_.erase(file);
        } catch (const ReadError& error) {
            known_.erase(file);
            if (unopened_.emplace(file, isFirst ? status.st_size : 0).second) {
                output_.Problems().NoteTroubleOnce(error.what());
            }
        }
    }

    // `past`: how many bytes of it were there at first.
    void OpenNew(const LogFileName& name, off_t past, bool isFirst) {
        auto file = std::make_unique<FollowedFile>(name, series_++);
        if (past > 0) {
            // What stands there without an end and has been for long is not written any more.
            file->SkipTo(static_cast<uint64_t>(past), !file->IsQuiet() || IsAlive(name.process));
        }
        if (isFirst && file->IsClosed()) {
            return;
        }
        watch_.WatchProcess(name.process);
        files_.push_back(std::move(file));
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
        Session session(options_, output_.Problems());
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

    // Everything that was written since the last look, by time. True: files were closed.
    bool PrintNew() {
        // Judged before they are read, which is then to their end.
        const std::set<const FollowedFile*> removed = FindRemoved();
        std::vector<KeptRecord> fresh;
        for (const auto& file : files_) {
            try {
                const bool mayGrow = removed.count(file.get()) == 0 && MayGrow(*file);
                file->ReadNew(mayGrow, output_.GetMatcher(), output_.Problems(),
                              [&](const Found& found) { fresh.emplace_back(found); });
            } catch (const ReadError& error) {
                output_.Problems().NoteTrouble(error.what());
            }
        }
        output_.PrintNew(std::move(fresh));
        return CloseDoneFiles(removed);
    }

    // What its process has not completed when it ended stays as it is. What comes later is another
    // process's, which has the same number in another container.
    bool MayGrow(const FollowedFile& file) const {
        const bool isLastLook = options_.endsWithAgent && !watch_.HasProcess();
        return !isLastLook && !watch_.HasEnded(file.Name().process);
    }

    // The files that nobody can open any more and their process does not write.
    std::set<const FollowedFile*> FindRemoved() const {
        std::set<const FollowedFile*> removed;
        for (const auto& file : files_) {
            if (file->IsRemoved() && (file->IsClosed() || !IsAlive(file->Name().process))) {
                removed.insert(file.get());
            }
        }
        return removed;
    }

    // The newest file of a process may be emptied and written again, even when it was closed. That
    // the process is not seen alone says little: it may live in another container.
    bool IsDone(const FollowedFile& file) const {
        const LogFileName& name = file.Name();
        if (file.IsClosed() && file.IsQuiet() && !IsAlive(name.process)) {
            return true;
        }
        return file.IsClosed() && std::any_of(files_.begin(), files_.end(), [&](const auto& other) {
                   return other->Name().category == name.category &&
                          other->Name().process == name.process && other->Name().path > name.path;
               });
    }

    bool CloseDoneFiles(const std::set<const FollowedFile*>& removed) {
        // Judged before any is removed.
        std::vector<std::unique_ptr<FollowedFile>> kept;
        std::vector<bool> isDone;
        for (auto& file : files_) {
            isDone.push_back(removed.count(file.get()) != 0 || IsDone(*file));
        }
        for (size_t i = 0; i < files_.size(); ++i) {
            if (!isDone[i]) {
                kept.push_back(std::move(files_[i]));
            } else if (files_[i]->IsRemoved()) {
                // Its number may come again with another file of that name.
                known_.erase({files_[i]->Name().path, files_[i]->Inode()});
            }
        }
        files_.swap(kept);
        return files_.size() < kept.size();
    }

    const Options& options_;
    FollowOutput output_;
    ChangeWatch watch_;
    std::set<std::string> directories_;
    std::set<std::string> gone_;  // of these, told once
    std::vector<std::unique_ptr<FollowedFile>> files_;
    std::set<std::pair<std::string, ino_t>> known_;
    // What could not be opened, and how much of it is past. Told once, and tried again.
    std::map<std::pair<std::string, ino_t>, off_t> unopened_;
    size_t series_ = 0;
};

}  // namespace

ExitCode RunFollow(const Options& options) {
    if (options.before + options.after > 0 || options.story || options.reverse || options.count) {
        throw BadRequest("--follow goes with neither context, --story, --reverse nor --count");
    }
    if (!options.store.empty()) {
        return RunFollowStore(options);
    }
    RequireFollowed(options.paths);
    return Follow(options).Run();
}

}  // namespace NS_LOG_READER
