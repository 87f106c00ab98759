// What the programs say about themselves.
#pragma once

namespace NS_VERSION {

// Version, commit and build kind, as "1.0.0 (commit 0123456789ab, Release)". The commit is
// "unknown" where neither git nor an exported tree tells it, and ends with "-dirty" where files
// differ from it.
extern const char* const kBuildVersion;

}  // namespace NS_VERSION
