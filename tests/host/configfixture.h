// A share directory with a configuration file in it.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "bundlemgr/corbaconfigitems.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

namespace NS_BUNDLEMGR1 {

inline bool operator==(const NameValueStru& left, const NameValueStru& right) {
    return left.name == right.name && left.value == right.value;
}

inline void PrintTo(const NameValueStru& item, std::ostream* out) {
    *out << item.name << " = " << item.value;
}

}  // namespace NS_BUNDLEMGR1

namespace NS_TEST {

class ConfigTest : public DirectoryTest {
  protected:
    using Items = std::vector<NS_BUNDLEMGR1::NameValueStru>;

    // Starts with a share directory that holds nothing.
    ConfigTest() : share_("_APP_SHARE_DIR", Path()), file_(Path("conf/corba_agent.cfg")) {}

    // As if the file had been written a while ago.
    void Write(const std::string& text) const {
        WriteFile(file_, text);
        std::filesystem::last_write_time(
            file_, std::filesystem::last_write_time(file_) - std::chrono::hours(1));
    }

    static NS_BUNDLEMGR1::CorbaConfigItems& Store() {
        return *NS_BUNDLEMGR1::CorbaConfigItems::Instance();
    }

    // Reads the file anew.
    static Items AllItems() {
        Items items;
        Store().GetCorbaConfigItems(items);
        return items;
    }

    // What a file with this text says.
    Items ItemsOf(const std::string& text) const {
        Write(text);
        return AllItems();
    }

    ScopedVariable share_;
    std::string file_;
};

}  // namespace NS_TEST
