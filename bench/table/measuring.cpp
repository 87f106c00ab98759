#include "table/measuring.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <system_error>

namespace NS_BENCH {

namespace {

// An empty directory, removed with everything in it.
class ScratchDirectory {
  public:
    explicit ScratchDirectory(const std::string& parent) {
        std::string pattern = parent + "/qvbench.XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), pattern);
        }
        path_ = pattern;
    }
    ~ScratchDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const std::string& Path() const { return path_; }

  private:
    std::string path_;
};

}  // namespace

Metrics Measuring::RunOnce(const Case& what, const Entrant& entrant) const {
    const ScratchDirectory scratch(what.inMemory ? options_.memory : options_.disk);
    std::vector<std::string> arguments = what.arguments;
    arguments.insert(arguments.end(), entrant.arguments.begin(), entrant.arguments.end());
    arguments.push_back("directory=" + scratch.Path());
    arguments.push_back("duration=" + std::to_string(options_.milliseconds * what.durationFactor));
    return RunProgram(options_.programs + "/" + entrant.program, arguments);
}

CaseResult Measuring::Measure(const Case& what) {
    CaseResult result{what, {}};
    for (const Entrant& entrant : what.entrants) {
        result.entrants.emplace_back(entrant);
    }
    std::set<const EntrantResult*> failed;
    for (int round = 0; round < options_.rounds; ++round) {
        std::fprintf(stderr, "\r%-24s round %d of %d ", what.name.c_str(), round + 1,
                     options_.rounds);
        for (EntrantResult& entrant : result.entrants) {
            if (failed.count(&entrant) > 0) {
                continue;
            }
            try {
                entrant.Add(RunOnce(what, entrant.Who()));
            } catch (const std::runtime_error& error) {
                std::fprintf(stderr, "\n%s: %s\n", entrant.Who().label.c_str(), error.what());
                failed.insert(&entrant);
                hasFailed_ = true;
            }
        }
    }
    std::fprintf(stderr, "\r%48s\r", "");
    return result;
}

}  // namespace NS_BENCH
