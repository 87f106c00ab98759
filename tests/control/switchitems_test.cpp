// In which order the switch items are found and trimmed. This program sees the platform's look-ups
// and trimmings, which work as before.
#include <dlfcn.h>

#include <string>
#include <vector>

#include "control/switchfile.h"
#include "support/servicefixture.h"
#include "util/selfutilcommon.h"

namespace {

thread_local std::vector<std::string> t_uses;

template <class Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace NS_UTIL {

__attribute__((visibility("default"))) std::string Trim(const std::string& text) {
    using Original = std::string (*)(const std::string&);
    static const auto original =
        Next<Original>("_ZN7NS_UTIL4TrimERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
    t_uses.push_back("trim " + text);
    return original(text);
}

}  // namespace NS_UTIL

namespace NS_BUNDLEMGR1 {

__attribute__((visibility("default"))) bool GetValByKey(std::string& value, const std::string& key,
                                                        const std::vector<NameValueStru>& items) {
    using Original = bool (*)(std::string&, const std::string&, const std::vector<NameValueStru>&);
    static const auto original = Next<Original>(
        "_ZN13NS_BUNDLEMGR111GetValByKeyERNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEERKS5_"
        "RKSt6vectorINS_13NameValueStruESaISA_EE");
    t_uses.push_back("find " + key);
    return original(value, key, items);
}

}  // namespace NS_BUNDLEMGR1

namespace {

class SwitchItems : public NS_TEST::ServiceTest {
  protected:
    std::vector<std::string> Uses() {
        t_uses.clear();
        NS_LOG_SERVICE1::ApplySwitchFile();
        return t_uses;
    }
};

TEST_F(SwitchItems, AreAllFoundBeforeTheFirstIsTrimmed) {
    store_.Set("logswitch", "1,1,1,1");
    store_.Set("bEnableAsnLog", "1");
    using testing::ElementsAre;
    EXPECT_THAT(Uses(), ElementsAre("find logswitch", "find bEnableAsnLog", "find bLogOutputPara"));
    store_.Set("bLogOutputPara", "0");
    EXPECT_THAT(Uses(), ElementsAre("find logswitch", "find bEnableAsnLog", "find bLogOutputPara",
                                    "trim 1,1,1,1", "trim 1", "trim 0"));
}

}  // namespace
