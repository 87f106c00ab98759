// Waits for the bundles that have work to do.
#include "agent/workwatch.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

namespace NS_REFERENCE_HOST {

namespace {

void WaitForAny(std::vector<pollfd>& entries) {
    while (poll(entries.data(), entries.size(), -1) < 0) {
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "poll");
        }
    }
}

}  // namespace

WorkWatch::WorkWatch(int stop) : stop_(stop) {}

void WorkWatch::Add(const std::string& bundle, const WorkingBundle& work) {
    pending_.push_back({bundle, &work});
}

void WorkWatch::ReactTo(int descriptor, std::function<void()> react) {
    reactions_.push_back({descriptor, std::move(react)});
}

std::vector<int> WorkWatch::WaitForEvents() const {
    std::vector<int> ready;
    while (ready.empty()) {
        std::vector<pollfd> entries{{stop_, POLLIN, 0}};
        for (const Reaction& reaction : reactions_) {
            entries.push_back({reaction.descriptor, POLLIN, 0});
        }
        const auto firstWork = static_cast<std::ptrdiff_t>(entries.size());
        for (const Entry& entry : pending_) {
            entries.push_back({entry.work->DoneDescriptor(), POLLIN, 0});
        }
        WaitForAny(entries);
        if (entries.front().revents != 0) {
            return {};
        }
        for (std::size_t index = 0; index < reactions_.size(); ++index) {
            if (entries[index + 1].revents != 0) {
                reactions_[index].react();
            }
        }
        for (auto entry = entries.begin() + firstWork; entry != entries.end(); ++entry) {
            if (entry->revents != 0) {
                ready.push_back(entry->fd);
            }
        }
    }
    return ready;
}

bool WorkWatch::WaitForWork() {
    while (!pending_.empty()) {
        const std::vector<int> done = WaitForEvents();
        if (done.empty()) {
            return false;
        }
        TakeOutDone(done);
    }
    return true;
}

void WorkWatch::TakeOutDone(const std::vector<int>& done) {
    const auto ended = [&done](const Entry& entry) {
        return std::count(done.begin(), done.end(), entry.work->DoneDescriptor()) != 0;
    };
    for (const Entry& entry : pending_) {
        if (ended(entry) && !entry.work->HasSucceeded()) {
            std::fprintf(stderr, "qv_agent: bundle %s failed in its work\n", entry.bundle.c_str());
            failed_ = true;
        }
    }
    pending_.erase(std::remove_if(pending_.begin(), pending_.end(), ended), pending_.end());
}

void WorkWatch::WaitForStop() {
    WaitForEvents();
}

}  // namespace NS_REFERENCE_HOST
