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

    // The connection is in a transaction of one moment, where following begins. `url` is for
    // connecting again. Throws StoreError.
    StoreFollower(std::string url, Connection connection);

    // Waits for something new; sometimes there is nothing. False: nobody reads the output any more.
    bool Wait();

    // What was stored since the last time and matches, each file up to its first gap. What comes
    // behind it waits until the gap is filled, or until the end in front of it has not moved for
    // ten seconds: of a file that was quiet for so long, or of which nothing in front is stored, it
    // does not wait. A store that is away gives nothing, which is reported on standard error.
    // Throws StoreError when it refuses for a reason that waiting does not remove.
    void TakeNew(const NS_LOG_READER::Matcher& matcher, NS_LOG_READER::ProblemListener& problems,
                 const Take& take);

  private:
    struct File {
        NS_LOG_READER::LogFileName name;
        bool isWanted = false;
        ByteRanges given;  // was handed out, or is past
        // Since when it has been seen that the first gap is there.
        uint64_t gap = 0;
        std::chrono::steady_clock::time_point gapSeen;
    };
    using Marks = std::map<int64_t, ByteRanges>;  // what each file has stored

    void Report(const std::string& text) const;
    void Connect();
    void Lose(const StoreError& error);
    Marks StoredMarks();
    File& FindFile(int64_t id, const NS_LOG_READER::Matcher& matcher);
    static bool IsPatient(const ByteRanges& stored, File& file);
    void TakeFile(int64_t id, const ByteRanges& stored, File& file,
                  const NS_LOG_READER::Matcher& matcher, NS_LOG_READER::ProblemListener& problems,
                  const Take& take);
    void TakeRange(int64_t id, ByteRanges::Range range, File& file,
                   const NS_LOG_READER::Matcher& matcher, NS_LOG_READER::ProblemListener& problems,
                   const Take& take);

    const std::string url_;
    std::optional<Connection> connection_;  // none: the store is away
    Marks past_;                            // what was there when following began
    std::map<int64_t, File> files_;
    std::chrono::milliseconds pause_{0};  // before the next attempt to connect
    std::string problem_;
};

}  // namespace NS_LOG_FLEET
