#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <tuple>
#include <utility>

#include "command/changewatch.h"
#include "command/commands.h"
#include "command/followedfile.h"
#include "command/followoutput.h"
#include "command/session.h"
#include "command/verification.h"
#include "query/badrequest.h"
#include "query/mergedstream.h"

namespace NS_LOG_READER {
namespace {

namespace fs = std::filesystem;

// Of a log file that may still be written; compressed ones are not.
std::optional<NameParts> ParseFollowedName(const std::string& path) {
    return IsCompressedName(path) ? std::nullopt : ParseLogFileName(path);
}

std::string DirectoryOf(const std::string& path) {
    return fs::path(path).parent_path().string();
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
            const std::string parent = DirectoryOf(path);
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
            wasClosed = PrintNew() && isUnopened_;
        }
    }

    // Opens what there is new. `isFirst`: what these files hold is past.
    void FindFiles(bool isFirst) {
        isUnopened_ = false;
        for (const std::string& path : options_.paths) {
            std::error_code error;
            if (!fs::is_directory(path, error)) {
                AddFile(path, isFirst);
                continue;
            }
            // In the order in which the past is read: of a file with several paths, both take the
            // first one.
            std::set<std::string> found;
            // Open until the files are: when descriptors run out, it is a file that cannot be
            // opened, and that is told.
            const fs::directory_iterator directory(path, error);
            for (const auto& entry : directory) {
                found.insert(entry.path().string());
            }
            for (const std::string& file : found) {
                AddFile(file, isFirst);
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
        if (!IsWanted(path, name) || ::stat(path.c_str(), &status) != 0 || IsOpen(IdOf(status))) {
            return;
        }
        try {
            if (!Resume(path, status)) {
                OpenNew(name, IdOf(status), isFirst);
            }
        } catch (const ReadError& error) {
            // Told once, and tried again.
            isUnopened_ = true;
            unopened_.emplace(std::pair(path, IdOf(status)), isFirst ? status.st_size : 0);
            output_.Problems().NoteTroubleOnce(error.what());
        }
    }

    // Opens a file that is at rest and was changed. False: it is not at rest.
    bool Resume(const std::string& path, const struct stat& status) {
        const auto place = atRest_.find(IdOf(status));
        if (place == atRest_.end()) {
            return false;
        }
        FollowedFile& file = *place->second;
        if (file.Name().path != path && !IsAt(file.Name().path, IdOf(status))) {
            // Another file has its number now.
            atRest_.erase(place);
            return false;
        }
        if (file.HasChanged(status) && file.Resume()) {
            WatchProcess(file.Name().process);
            open_.push_back(std::move(place->second));
            atRest_.erase(place);
        }
        return true;
    }

    void OpenNew(const LogFileName& name, FileId id, bool isFirst) {
        std::string& newest = newest_[{DirectoryOf(name.path), name.category, name.process}];
        newest = std::max(newest, name.path);
        WatchTarget(name.path);
        auto file = std::make_unique<FollowedFile>(name, series_++);
        if (IsOpen(file->Id())) {
            return;  // it was renamed meanwhile
        }
        const auto unopened = unopened_.find({name.path, id});
        if (isFirst || unopened != unopened_.end()) {
            // What stands there without an end and has been for long is not written any more.
            file->SkipTo(isFirst ? file->Size() : static_cast<uint64_t>(unopened->second),
                         !IsUnwritten(*file));
            unopened_.erase({name.path, id});
        }
        if (isFirst && (file->IsClosed() || IsUnwritten(*file))) {
            PutToRest(std::move(file));
            return;
        }
        WatchProcess(name.process);
        open_.push_back(std::move(file));
    }

    void WatchProcess(int64_t process) {
        const std::string problem = watch_.WatchProcess(process);
        if (!problem.empty()) {
            output_.Problems().NoteTroubleOnce(problem);
        }
    }

    // A file that was renamed is still followed.
    bool IsOpen(FileId id) const {
        return std::any_of(open_.begin(), open_.end(),
                           [&](const auto& file) { return file->Id() == id; });
    }

    static bool IsAt(const std::string& path, FileId id) {
        struct stat status {};
        return ::stat(path.c_str(), &status) == 0 && IdOf(status) == id;
    }

    // The last records that stood there when the files were found, those of compressed ones too.
    void PrintPast() {
        std::map<std::string, const FollowedFile*> files;
        std::map<std::string, uint64_t> ends;
        const auto add = [&](const FollowedFile& file) {
            files[file.Name().path] = &file;
            ends[file.Name().path] = file.Offset();
        };
        for (const auto& file : open_) {
            add(*file);
        }
        for (const auto& [id, file] : atRest_) {
            add(*file);
        }
        // What is being written beyond is not torn.
        output_.Problems().TellOnlyBefore(std::move(ends));
        Session session(options_, output_.Problems());
        output_.PrintPast(*session.Open(output_.GetMatcher(), {}, true), [&](const Found& found) {
            const std::string& path = found.record.origin->path;
            const auto file = files.find(path);
            if (file == files.end()) {
                return IsCompressedName(path);
            }
            return found.record.offset < file->second->Offset() && IsAt(path, file->second->Id());
        });
        output_.Problems().TellOnlyBefore({});
    }

    // Everything that was written since the last look, by time. True: files were closed.
    bool PrintNew() {
        // Judged before they are read, which is then to their end.
        const std::set<const FollowedFile*> removed = FindRemoved();
        std::vector<std::unique_ptr<RecordStream>> streams;
        for (const auto& file : open_) {
            try {
                const bool mayGrow = removed.count(file.get()) == 0 && MayGrow(*file);
                auto records = file->ReadNew(mayGrow, output_.GetMatcher(), output_.Problems());
                if (records) {
                    streams.push_back(std::move(records));
                }
            } catch (const ReadError& error) {
                output_.Problems().NoteTroubleOnce(error.what());
            }
        }
        MergedStream records(std::move(streams), false);
        output_.PrintNew(records);
        return CloseDoneFiles(removed);
    }

    // What its process has not completed when it ended stays as it is. What comes later is another
    // process's, which has the same number in another container.
    bool MayGrow(const FollowedFile& file) const {
        const bool isLastLook = options_.endsWithAgent && !watch_.HasProcess();
        return !isLastLook && !watch_.HasEnded(file.Name().process);
    }

    // That the process is not seen alone says little: it may live in another container.
    static bool IsUnwritten(const FollowedFile& file) {
        return file.IsQuiet() && !IsAlive(file.Name().process);
    }

    // The files that nobody can open any more and their process does not write.
    std::set<const FollowedFile*> FindRemoved() const {
        std::set<const FollowedFile*> removed;
        for (const auto& file : open_) {
            if (file->IsRemoved() && (file->IsClosed() || IsUnwritten(*file))) {
                removed.insert(file.get());
            }
        }
        return removed;
    }

    // Nothing is expected of it. The newest file of a process may be emptied and written again,
    // even when it was closed.
    bool IsDone(const FollowedFile& file) const {
        const LogFileName& name = file.Name();
        const auto newest = newest_.find({DirectoryOf(name.path), name.category, name.process});
        return IsUnwritten(file) ||
               (file.IsClosed() && newest != newest_.end() && newest->second > name.path);
    }

    bool CloseDoneFiles(const std::set<const FollowedFile*>& removed) {
        const size_t count = open_.size();
        std::vector<std::unique_ptr<FollowedFile>> kept;
        for (auto& file : open_) {
            if (removed.count(file.get()) != 0) {
                file.reset();
            } else if (IsDone(*file) && !file->IsRemoved()) {
                PutToRest(std::move(file));
            } else {
                kept.push_back(std::move(file));
            }
        }
        open_.swap(kept);
        return open_.size() < count;
    }

    void PutToRest(std::unique_ptr<FollowedFile> file) {
        file->Rest();
        const FileId id = file->Id();
        atRest_[id] = std::move(file);
    }

    const Options& options_;
    FollowOutput output_;
    ChangeWatch watch_;
    std::set<std::string> directories_;
    std::set<std::string> gone_;  // of these, told once
    std::vector<std::unique_ptr<FollowedFile>> open_;
    // What is opened again once it is changed: a file may be emptied or continued long after
    // another one of its process was begun, when the clock shows an hour twice.
    std::map<FileId, std::unique_ptr<FollowedFile>> atRest_;
    // What could not be opened, and how much of it is past. When it is removed, its number alone
    // may come again with what is new.
    std::map<std::pair<std::string, FileId>, off_t> unopened_;
    bool isUnopened_ = false;  // by the last look
    // The last name of each process's files of a category in a directory.
    std::map<std::tuple<std::string, std::string, int64_t>, std::string> newest_;
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
