// Notices from the books of the channels what an operator has to know at once.
#include "agent/channelwatch.h"

#include <system_error>
#include <utility>

namespace NS_REFERENCE_HOST {

namespace {

using NS_LOG_SERVICE1::ChannelBooks;

constexpr std::chrono::hours kReminder{1};

std::string LostSoFar(const ChannelBooks& books) {
    return std::to_string(books.recordsDropped + books.recordsOverwritten) + " records lost so far";
}

// "FILE: error", or the error alone when the books name no file.
std::string LastError(const ChannelBooks& books) {
    const std::string error = std::generic_category().message(books.lastError);
    return books.lastErrorFile.empty() ? error : books.lastErrorFile + ": " + error;
}

}  // namespace

ChannelWatch::ChannelWatch(Tell tell) : tell_(std::move(tell)) {}

void ChannelWatch::Look(const std::vector<ChannelBooks>& books, Clock::time_point now) {
    for (const ChannelBooks& channel : books) {
        Channel& known = channels_[channel.category];
        LookForFailure(channel, known, now);
        LookForOverwriting(channel, known, now);
        hasLost_ = hasLost_ || channel.recordsDropped + channel.recordsOverwritten > 0;
    }
}

// A failure and its end may both lie between two looks. Both are told then.
void ChannelWatch::LookForFailure(const ChannelBooks& books, Channel& channel,
                                  Clock::time_point now) {
    const bool hasFailed = books.failures > channel.failures || books.failing;
    if (!channel.isFailing && hasFailed) {
        tell_(books.category + " cannot be written: " + LastError(books) + "; " + LostSoFar(books));
        channel.isFailing = true;
        channel.failingSince = now;
        channel.failureTold = now;
    } else if (books.failing && now - channel.failureTold >= kReminder) {
        const auto hours =
            std::chrono::duration_cast<std::chrono::hours>(now - channel.failingSince).count();
        tell_(books.category + " still cannot be written, for " + std::to_string(hours) +
              " hours: " + LastError(books) + "; " + LostSoFar(books));
        channel.failureTold = now;
    }
    if (channel.isFailing && !books.failing) {
        tell_(books.category + " is written again; " + LostSoFar(books));
        channel.isFailing = false;
    }
    channel.failures = books.failures;
}

void ChannelWatch::LookForOverwriting(const ChannelBooks& books, Channel& channel,
                                      Clock::time_point now) {
    if (books.recordsOverwritten == channel.overwritten ||
        (channel.overwritten > 0 && now - channel.overwritingTold < kReminder)) {
        return;
    }
    tell_(books.category + ": a file was emptied because its name came round; " + LostSoFar(books));
    channel.overwritten = books.recordsOverwritten;
    channel.overwritingTold = now;
}

}  // namespace NS_REFERENCE_HOST
