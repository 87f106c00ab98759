// The configuration store over the agent's configuration file.
#pragma once

#include <string>
#include <vector>

#include "bundlemgr/corbaconfigitems.h"
#include "platform/configfile.h"
#include "platform/mutex.h"

namespace NS_REFERENCE_HOST {

// Single items come from what was last read, so that items which are asked for one after the
// other belong together; the first use reads. Asking for all items reads the file anew. A file
// that is not there holds no items; one that cannot be read raises InterfaceNotExistException and
// what was read before stays. Broken lines are reported on standard error at each reading.
//
// The file may be changed while the agent runs, by renaming a new one over it or by rewriting it in
// place: asking for all items again waits, up to a good second, for a writer who is at it. A last
// line without its newline does not count then, and is reported, unless the file ended like that
// before: a part of a value must not be taken for the value.
//
// Thread safety: any thread may call any operation.
class FileConfigItems final : public NS_BUNDLEMGR1::CorbaConfigItems {
  public:
    bool GetIntItemInfo(const std::string& name, int& value) override EXCLUDES(lock_);
    bool GetStrItemInfo(const std::string& name, std::string& value) override EXCLUDES(lock_);
    void GetCorbaConfigItems(std::vector<NS_BUNDLEMGR1::NameValueStru>& items) override
        EXCLUDES(readingLock_, lock_);

  private:
    bool HasRead() EXCLUDES(lock_);
    void Read(const std::string& path) REQUIRES(lock_);
    void ReadAgain(const std::string& path) REQUIRES(readingLock_) EXCLUDES(lock_);
    void Take(const std::string& path, ConfigText text) REQUIRES(lock_);

    // Guards no field: held while the file is read again, so that an older text does not replace a
    // newer one.
    Mutex readingLock_ ACQUIRED_BEFORE(lock_);

    Mutex lock_;
    bool isRead_ GUARDED_BY(lock_) = false;
    bool endsWithNewline_ GUARDED_BY(lock_) = true;
    std::vector<NS_BUNDLEMGR1::NameValueStru> items_ GUARDED_BY(lock_);
};

}  // namespace NS_REFERENCE_HOST
