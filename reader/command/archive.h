// Where log files are kept.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "command/options.h"
#include "command/verification.h"
#include "query/recordstream.h"
#include "query/seriesstream.h"

namespace NS_LOG_READER {

// The files of this machine, or a store that other machines send theirs to. What is asked of it
// gets the same answers.
//
// Thread safety: none.
class Archive {
  public:
    virtual ~Archive() = default;

    // All series that the selection wants. What is wrong with them goes into `problems`.
    virtual std::vector<Series> FindSeries(const Selection& selection,
                                           std::vector<std::string>& problems) = 0;

    // Streams for the matcher are opened next.
    virtual void Prepare(const Matcher&) {}

    // The records of a series that match, or all of them when context is wanted. All arguments
    // outlive the stream, as the archive does.
    virtual std::unique_ptr<RecordStream> Open(const Series& series, size_t index,
                                               const Matcher& matcher, StreamOptions options,
                                               bool newestFirst, ProblemListener& problems) = 0;

    virtual Verification Verify(const Series& series) = 0;
};

// A store. Its series are those of many hosts.
class Store : public Archive {
  public:
    using Take = std::function<void(const Found&)>;

    // Has the files sent again by their hosts. Returns how many there are of them.
    virtual size_t OrderAgain(const std::vector<const LogFile*>& files) = 0;

    // From here on TakeNew hands out what is stored, and nothing else is asked for. Until then
    // everything that is asked for is answered as of one moment.
    virtual void BeginFollowing() = 0;
    // Waits for something new; sometimes there is nothing. False: nobody reads the output any more.
    virtual bool Wait() = 0;
    // Nothing while the store is away, which is reported.
    virtual void TakeNew(const Matcher& matcher, ProblemListener& problems, const Take& take) = 0;
};

using OpenStoreFunction = std::unique_ptr<Store> (*)(const std::string& url);

// A library that knows stores says how to open them, before main begins.
bool SetStoreOpener(OpenStoreFunction function);

// Throws BadRequest when the program knows no stores.
std::unique_ptr<Store> OpenStore(const std::string& url);

// What the options ask: the store, or the files of the paths.
std::unique_ptr<Archive> OpenArchive(const Options& options);

}  // namespace NS_LOG_READER
