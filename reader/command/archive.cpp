#include "command/archive.h"

#include "query/badrequest.h"
#include "query/reversestream.h"

namespace NS_LOG_READER {
namespace {

class FileArchive final : public Archive {
  public:
    explicit FileArchive(const std::vector<std::string>& paths) : paths_(paths) {}

    std::vector<Series> FindSeries(const Selection& selection,
                                   std::vector<std::string>& problems) override {
        std::vector<Series> wanted;
        for (Series& series : NS_LOG_READER::FindSeries(paths_, problems)) {
            if (selection.Wants(series)) {
                wanted.push_back(std::move(series));
            }
        }
        return wanted;
    }

    std::unique_ptr<RecordStream> Open(const Series& series, size_t index, const Matcher& matcher,
                                       StreamOptions options, bool newestFirst,
                                       ProblemListener& problems) override {
        if (newestFirst) {
            return std::make_unique<ReverseStream>(series, index, matcher, options, problems);
        }
        return std::make_unique<SeriesStream>(series, index, matcher, options, problems);
    }

    Verification Verify(const Series& series) override { return VerifyFiles(series); }

  private:
    const std::vector<std::string> paths_;
};

OpenStoreFunction& Opener() {
    static OpenStoreFunction function = nullptr;
    return function;
}

}  // namespace

bool SetStoreOpener(OpenStoreFunction function) {
    Opener() = function;
    return true;
}

std::unique_ptr<Store> OpenStore(const std::string& url) {
    if (Opener() == nullptr) {
        throw BadRequest("--store: this qvlog was built without the fleet");
    }
    return Opener()(url);
}

std::unique_ptr<Archive> OpenArchive(const Options& options) {
    if (!options.store.empty()) {
        return OpenStore(options.store);
    }
    return std::make_unique<FileArchive>(options.paths);
}

}  // namespace NS_LOG_READER
