// A target that keeps what it is given.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ship/target.h"

namespace NS_TEST {

using namespace NS_LOG_FLEET;

// Outlives the targets, as a store does.
struct Kept {
    struct File {
        FileIdentity identity;
        std::string bytes;
        bool isComplete = false;
        bool hasGone = false;
        bool isWantedAgain = false;
        uint64_t lost = 0;
        std::optional<uint64_t> gap = {};  // where something is missing in front of the rest
    };

    std::vector<File> files;
    std::vector<HostState> states;  // what the host has said
    int failures = 0;               // so many parts are taken and not kept
    int asks = 0;                   // so many times it was asked where to go on
    int parts = 0;
    int refusals = 0;  // so many parts are refused for good
    bool takesGaps = false;
    bool resumesBehindGaps = false;
    bool isAway = false;                     // it is asked in vain
    bool forgets = false;                    // all that it had, when the second file is complete
    std::function<void()> whenSent = [] {};  // what happens when it has taken a part
    std::function<void()> whenComplete = [] {};  // when a file is complete
    std::function<void()> whenGone = [] {};      // when a file has gone, before that is kept
    std::function<void()> whenTold = [] {};      // when the host has told about itself
};

class KeepingTarget final : public Target {
  public:
    explicit KeepingTarget(Kept& kept) : kept_(kept) {}

    TargetFile Open(const FileIdentity& file) override {
        ++kept_.asks;
        const std::optional<KnownFile> known = Find(file);
        if (known) {
            const uint64_t resumeAt = kept_.resumesBehindGaps ? known->size : known->arrived;
            return {known->handle, resumeAt, known->isComplete};
        }
        kept_.files.push_back({file, "", false, false, false, 0, std::nullopt});
        return {static_cast<int64_t>(kept_.files.size() - 1), 0, false};
    }

    std::optional<KnownFile> Find(const FileIdentity& file) override {
        if (kept_.isAway) {
            throw TargetError("the target is away", true);
        }
        for (size_t i = 0; i < kept_.files.size(); ++i) {
            const FileIdentity& known = kept_.files[i].identity;
            if (known.host == file.host && known.name == file.name && known.first == file.first) {
                return Known(i);
            }
        }
        return std::nullopt;
    }

    void Send(int64_t handle, FilePart part) override {
        ++kept_.parts;
        if (kept_.refusals > 0) {
            --kept_.refusals;
            throw TargetError("the target refuses", false);
        }
        if (kept_.failures > 0) {
            --kept_.failures;
            throw TargetError("the target is away", true);
        }
        Kept::File& file = kept_.files[static_cast<size_t>(handle)];
        std::string& bytes = file.bytes;
        if (part.offset > bytes.size()) {
            ASSERT_TRUE(kept_.takesGaps);
            file.gap = file.gap.value_or(bytes.size());
            bytes.resize(part.offset);
        }
        bytes.replace(part.offset, part.bytes.size(), part.bytes);
        kept_.whenSent();
    }

    void Flush() override {}

    std::vector<KnownFile> FilesOf(const std::string&) override {
        std::vector<KnownFile> all;
        for (size_t i = 0; i < kept_.files.size(); ++i) {
            if (!kept_.files[i].hasGone) {
                all.push_back(Known(i));
            }
        }
        return all;
    }

    void NoteGone(int64_t handle, uint64_t lost) override {
        kept_.whenGone();
        kept_.files[static_cast<size_t>(handle)].hasGone = true;
        kept_.files[static_cast<size_t>(handle)].lost = lost;
    }
    void NoteComplete(int64_t handle, uint64_t) override {
        const bool isFirst = std::none_of(kept_.files.begin(), kept_.files.end(),
                                          [](const Kept::File& file) { return file.isComplete; });
        kept_.files[static_cast<size_t>(handle)].isComplete = true;
        if (kept_.forgets && !isFirst) {
            kept_.forgets = false;
            for (Kept::File& file : kept_.files) {
                file.bytes.clear();
            }
            throw TargetError("the target is away", true);
        }
        kept_.whenComplete();
    }
    void NoteSentAgain(int64_t handle) override {
        kept_.files[static_cast<size_t>(handle)].isWantedAgain = false;
    }
    void NoteHost(const HostState& state) override {
        kept_.states.push_back(state);
        kept_.whenTold();
    }

  private:
    KnownFile Known(size_t index) const {
        const Kept::File& file = kept_.files[index];
        return {static_cast<int64_t>(index), file.identity.name,
                file.identity.first,         file.gap.value_or(file.bytes.size()),
                file.bytes.size(),           file.isComplete,
                file.isWantedAgain};
    }

    Kept& kept_;
};

}  // namespace NS_TEST
