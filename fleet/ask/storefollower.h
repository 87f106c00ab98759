// What comes into a store from a moment on.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "ask/byteranges.h"
#include "format/record.h"
#include "query/recordstream.h"
#include "query/selection.h"
#include "store/connection.h"

namespace NS_LOG_FLEET {

// Goes on when the store was away: how far each file was handed out is known here.
//
// Thread safety: none.
class StoreFollower {
  public:
    using Take = std::function<void(const NS_LOG_READER::Found&)>;

    // Collectors that overtake each other fill a gap before. One that lasts is a record that was
    // left out.
    static constexpr std::chrono::seconds kLongestGap{10};

    // The connection is in a transaction of one moment, where following begins. `url` is for
    // connecting again. A gap that is there for `longestGap` lasts. Throws StoreError.
    StoreFollower(std::string url, Connection connection,
                  std::chrono::milliseconds longestGap = kLongestGap);

    // Waits for something new; sometimes there is nothing. False: nobody reads the output any more.
    bool Wait();

    // What was stored since the last time and matches, each file up to its first gap. What comes
    // behind it waits until the gap is filled or has lasted. A store that is away gives nothing,
    // which is reported on standard error. Throws StoreError when it refuses for a reason that
    // waiting does not remove.
    void TakeNew(const NS_LOG_READER::Matcher& matcher, NS_LOG_READER::ProblemListener& problems,
                 const Take& take);

  private:
    struct File {
        NS_LOG_READER::LogFileName name;
        bool isWanted = false;
        ByteRanges given;             // was handed out, or is past
        std::optional<uint64_t> gap;  // where the first one is; none: nothing is stored behind one
        std::chrono::steady_clock::time_point gapSeen;  // there, for the first time
    };
    using Marks = std::map<int64_t, ByteRanges>;  // what each file has stored

    void Report(const std::string& text) const;
    void Connect();
    void Lose(const StoreError& error);
    Marks StoredMarks();
    File& FindFile(int64_t id, const NS_LOG_READER::Matcher& matcher);
    bool IsPatient(const ByteRanges& stored, File& file) const;
    void TakeFile(int64_t id, const ByteRanges& stored, File& file,
                  const NS_LOG_READER::Matcher& matcher, NS_LOG_READER::ProblemListener& problems,
                  const Take& take);
    void TakeRange(int64_t id, ByteRanges::Range range, File& file,
                   const NS_LOG_READER::Matcher& matcher, NS_LOG_READER::ProblemListener& problems,
                   const Take& take);

    const std::string url_;
    const std::chrono::milliseconds longestGap_;
    std::optional<Connection> connection_;  // none: the store is away
    Marks past_;                            // what was there when following began
    std::map<int64_t, File> files_;
    std::chrono::milliseconds pause_{0};  // before the next attempt to connect
    std::string problem_;
};

}  // namespace NS_LOG_FLEET
