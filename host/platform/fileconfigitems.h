// The configuration store over the agent's configuration file.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "bundlemgr/corbaconfigitems.h"
#include "platform/configfile.h"

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
    bool GetIntItemInfo(const std::string& name, int& value) override;
    bool GetStrItemInfo(const std::string& name, std::string& value) override;
    void GetCorbaConfigItems(std::vector<NS_BUNDLEMGR1::NameValueStru>& items) override;

  private:
    bool HasRead();
    void Read(const std::string& path);                   // the caller holds lock_
    void ReadAgain(const std::string& path);              // the caller holds readingLock_
    void Take(const std::string& path, ConfigText text);  // the caller holds lock_

    // Held while the file is read again, so that an older text does not replace a newer one.
    // Taken before lock_.
    std::mutex readingLock_;

    std::mutex lock_;
    bool isRead_ = false;                              // guarded by lock_
    bool endsWithNewline_ = true;                      // guarded by lock_
    std::vector<NS_BUNDLEMGR1::NameValueStru> items_;  // guarded by lock_
};

}  // namespace NS_REFERENCE_HOST
