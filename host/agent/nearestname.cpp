// What a mistyped name may have been meant to be.
#include "agent/nearestname.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace NS_REFERENCE_HOST {

namespace {

constexpr std::size_t kMostChanges = 2;

bool AreSame(char left, char right) {
    return std::tolower(static_cast<unsigned char>(left)) ==
           std::tolower(static_cast<unsigned char>(right));
}

// The least number of characters that are inserted, removed or replaced to make one of the other.
std::size_t CountChanges(const std::string& from, const std::string& to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t replaced = diagonal + (AreSame(from[i], to[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row[to.size()];
}

}  // namespace

std::string FindNearestName(const std::string& name, const std::vector<std::string>& known) {
    std::string nearest;
    std::size_t fewest = kMostChanges + 1;
    for (const std::string& candidate : known) {
        const std::size_t changes = CountChanges(name, candidate);
        if (changes < fewest) {
            fewest = changes;
            nearest = candidate;
        }
    }
    return nearest;
}

}  // namespace NS_REFERENCE_HOST
