// A store as an archive of the reader.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ask/byteranges.h"
#include "ask/conditions.h"
#include "ask/storefollower.h"
#include "command/archive.h"
#include "store/connection.h"

namespace NS_LOG_FLEET {

// Answers as of one moment: in one transaction that sees nothing that is stored later.
//
// Thread safety: none.
class StoreArchive final : public NS_LOG_READER::Store {
  public:
    // Throws StoreError.
    explicit StoreArchive(const std::string& url);

    std::vector<NS_LOG_READER::Series> FindSeries(const NS_LOG_READER::Selection& selection,
                                                  std::vector<std::string>& problems) override;
    void Prepare(const NS_LOG_READER::Matcher& matcher) override;
    std::unique_ptr<NS_LOG_READER::RecordStream> Open(
        const NS_LOG_READER::Series& series, size_t index, const NS_LOG_READER::Matcher& matcher,
        NS_LOG_READER::StreamOptions options, bool newestFirst,
        NS_LOG_READER::ProblemListener& problems) override;
    NS_LOG_READER::Verification Verify(const NS_LOG_READER::Series& series) override;

    size_t OrderAgain(const std::vector<const NS_LOG_READER::LogFile*>& files) override;
    void BeginFollowing() override;
    bool Wait() override;
    void TakeNew(const NS_LOG_READER::Matcher& matcher, NS_LOG_READER::ProblemListener& problems,
                 const Take& take) override;

  private:
    // What the store knows of a file beside its records.
    struct Knowledge {
        ByteRanges stored;
        uint64_t size = 0;
        uint64_t lost = 0;
        bool isComplete = false;
    };

    void Begin();
    void FindRanges();
    static void NoteBeginning(uint64_t behind, const Knowledge& known,
                              NS_LOG_READER::Verifier& verifier);
    void ReadPieces(const NS_LOG_READER::LogFile& file, NS_LOG_READER::Verifier& verifier);

    const std::string url_;
    Connection connection_;
    // Streams refer to the conditions of the matcher that they were opened with.
    std::vector<std::unique_ptr<Conditions>> conditions_;
    std::optional<std::set<int64_t>> candidates_;  // files that may hold something; none: all
    std::map<int64_t, Knowledge> known_;
    std::unique_ptr<StoreFollower> follower_;  // has the connection then
};

}  // namespace NS_LOG_FLEET
