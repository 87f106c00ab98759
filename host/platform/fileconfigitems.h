// The configuration store over the agent's configuration file.
#pragma once

#include <string>
#include <vector>

#include "bundlemgr/corbaconfigitems.h"
#include "platform/configfile.h"
#include "platform/mutex.h"

namespace NS_REFERENCE_HOST {

// The first use reads the file. Single items come from the last read, so that items that are read
// one after the other belong together. GetCorbaConfigItems reads the file again. A missing file has
// no items. When the file cannot be read, throws InterfaceNotExistException and keeps the items of
// the last read. Each read reports the first broken lines on standard error, under no lock: whoever
// reads that may be slow.
//
// The file may change while the agent runs: somebody may rename a new file over it or rewrite it in
// place. So GetCorbaConfigItems waits for a writer to finish, for little more than a second. When
// it then finds a last line without a newline, it reports and ignores that line, because part of
// the value may be missing. It accepts the line if the file ended without a newline before too.
//
// Thread safety: any thread may call any operation.
class FileConfigItems final : public NS_BUNDLEMGR1::CorbaConfigItems {
  public:
    static FileConfigItems& Instance();

    bool GetIntItemInfo(const std::string& name, int& value) override EXCLUDES(lock_);
    bool GetStrItemInfo(const std::string& name, std::string& value) override EXCLUDES(lock_);
    void GetCorbaConfigItems(std::vector<NS_BUNDLEMGR1::NameValueStru>& items) override
        EXCLUDES(readingLock_, lock_);

    // Around a fork: the items are held meanwhile. A fork does not wait until the file is read
    // again, which may take a second.
    void BeforeFork() { lock_.BeforeFork(); }
    void AfterForkInParent() { lock_.AfterFork(); }
    void AfterForkInChild() {
        lock_.AfterFork();
        readingLock_.MakeAnewInChild();
    }

  private:
    bool HasRead() EXCLUDES(lock_);
    void ReadOnFirstUse() EXCLUDES(lock_);

    // Return the broken lines.
    BrokenLines Read(const std::string& path) REQUIRES(lock_);
    BrokenLines ReadAgain(const std::string& path) REQUIRES(readingLock_) EXCLUDES(lock_);
    BrokenLines Take(ConfigText text) REQUIRES(lock_);

    // Guards no field. It is held while the file is read again, so that an older text does not
    // replace a newer one.
    Mutex readingLock_ ACQUIRED_BEFORE(lock_);

    Mutex lock_;
    bool isRead_ GUARDED_BY(lock_) = false;
    bool endsWithNewline_ GUARDED_BY(lock_) = true;
    std::vector<NS_BUNDLEMGR1::NameValueStru> items_ GUARDED_BY(lock_);
};

}  // namespace NS_REFERENCE_HOST
