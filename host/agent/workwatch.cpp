// Waits for the bundles that have work to do.
#include "agent/workwatch.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "common/describeexception.h"

namespace NS_REFERENCE_HOST {

namespace {

constexpr int kForEver = -1;

void Poll(std::vector<pollfd>& entries, int milliseconds) {
    while (poll(entries.data(), entries.size(), milliseconds) < 0) {
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "poll");
        }
    }
}

}  // namespace

WorkWatch::WorkWatch(int stop) : stop_(stop) {
    Reserve();
}

void WorkWatch::Add(const std::string& bundle, const WorkingBundle& work) {
    pending_.push_back({bundle, &work, work.DoneDescriptor()});
    Reserve();
}

void WorkWatch::ReactTo(int descriptor, std::function<void()> react) {
    reactions_.push_back({descriptor, std::move(react)});
    Reserve();
}

void WorkWatch::Reserve() {
    entries_.reserve(1 + reactions_.size() + pending_.size());
    ready_.reserve(pending_.size());
}

void WorkWatch::ListEntries() {
    entries_.clear();
    entries_.push_back({stop_, POLLIN, 0});
    for (const Reaction& reaction : reactions_) {
        entries_.push_back({reaction.descriptor, POLLIN, 0});
    }
    for (const Entry& entry : pending_) {
        entries_.push_back({entry.descriptor, POLLIN, 0});
    }
}

bool WorkWatch::WaitForEvents() {
    ready_.clear();
    while (ready_.empty()) {
        ListEntries();
        Poll(entries_, kForEver);
        if (entries_.front().revents != 0) {
            return false;
        }
        for (std::size_t index = 0; index < reactions_.size(); ++index) {
            if (entries_[index + 1].revents != 0) {
                reactions_[index].react();
            }
        }
        ListReady();
    }
    return true;
}

void WorkWatch::ListReady() {
    for (std::size_t index = reactions_.size() + 1; index < entries_.size(); ++index) {
        if (entries_[index].revents != 0) {
            ready_.push_back(entries_[index].fd);
        }
    }
}

bool WorkWatch::WaitForWork() {
    while (!pending_.empty()) {
        if (!WaitForEvents()) {
            return false;
        }
        TakeOutReady();
    }
    return true;
}

void WorkWatch::TakeOutEnded() {
    ready_.clear();
    ListEntries();
    Poll(entries_, 0);
    ListReady();
    TakeOutReady();
}

void WorkWatch::TakeOutReady() {
    const auto ended = [this](const Entry& entry) {
        return std::count(ready_.begin(), ready_.end(), entry.descriptor) != 0;
    };
    for (const Entry& entry : pending_) {
        if (ended(entry)) {
            AskForSuccess(entry);
        }
    }
    pending_.erase(std::remove_if(pending_.begin(), pending_.end(), ended), pending_.end());
}

void WorkWatch::AskForSuccess(const Entry& entry) {
    try {
        if (!entry.work->HasSucceeded()) {
            NoteFailure(entry.bundle, nullptr);
        }
    } catch (...) {
        NoteFailure(entry.bundle, ExceptionText());
    }
}

void WorkWatch::NoteFailure(const std::string& bundle, const char* reason) {
    failed_ = true;
    if (reason == nullptr) {
        std::fprintf(stderr, "qv_agent: bundle %s failed in its work\n", bundle.c_str());
    } else {
        std::fprintf(stderr, "qv_agent: bundle %s failed in its work: %s\n", bundle.c_str(),
                     reason);
    }
}

void WorkWatch::WaitForStop() {
    WaitForEvents();
}

}  // namespace NS_REFERENCE_HOST
