// The agent's configuration items.
#pragma once

#include <string>
#include <vector>

#include "bundlemgr/platformapi.h"

namespace NS_BUNDLEMGR1 {

// One item of the configuration.
struct NameValueStru {
    std::string name;   // without blanks around it
    std::string value;  // without blanks around it
};

// Finds the value of `key` in `items`. The last one of several items with that name counts. Returns
// false and leaves `value` alone when there is none.
QV_PLATFORM_API bool GetValByKey(std::string& value, const std::string& key,
                                 const std::vector<NameValueStru>& items);

// Thread safety: any thread may call any operation.
class QV_PLATFORM_API CorbaConfigItems {
  public:
    virtual ~CorbaConfigItems() = default;

    // Returns the configuration of this process; never null. May throw InterfaceNotExistException
    // when the store is out of reach.
    static CorbaConfigItems* Instance();

    // Reads the item `name` as a whole decimal number with an optional sign. Returns false and
    // leaves `value` alone when the item is missing, is no number or does not fit an int. May throw
    // InterfaceNotExistException when the store is out of reach.
    virtual bool GetIntItemInfo(const std::string& name, int& value) = 0;

    // Reads the item `name` as text. Returns false and leaves `value` alone when it is missing. May
    // throw InterfaceNotExistException when the store is out of reach.
    virtual bool GetStrItemInfo(const std::string& name, std::string& value) = 0;

    // Replaces `items` by all items as they are now. Reads the store again, in one read, so the
    // values belong together. May throw InterfaceNotExistException when the store is out of reach.
    virtual void GetCorbaConfigItems(std::vector<NameValueStru>& items) = 0;
};

}  // namespace NS_BUNDLEMGR1
