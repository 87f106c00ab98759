// The rows of the files that messages have named lately.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "store/filepart.h"
#include "store/recordrows.h"

namespace NS_LOG_FLEET {

// Hosts write new files for ever: when there are many, all are forgotten and asked for again.
//
// Thread safety: none.
class RecentFiles {
  public:
    static constexpr size_t kMost = 10000;

    std::optional<RowFile> Find(const FileIdentity& file) const {
        const auto known = rows_.find(KeyOf(file));
        return known == rows_.end() ? std::nullopt : std::optional<RowFile>(known->second);
    }

    void Add(const FileIdentity& file, const RowFile& row) {
        if (rows_.size() >= kMost) {
            rows_.clear();
        }
        rows_.emplace(KeyOf(file), row);
    }

    void Clear() { rows_.clear(); }

  private:
    static std::string KeyOf(const FileIdentity& file) {
        return file.host + '\n' + file.name + '\n' + file.first;
    }

    std::map<std::string, RowFile> rows_;
};

}  // namespace NS_LOG_FLEET
