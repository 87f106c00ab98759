// The object that stands for an interface that was not found.
#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <type_traits>
#include <vector>

#include "lookup/nullserviceinterface.h"

using NS_BUNDLEMGR1::FinalClass;
using NS_BUNDLEMGR1::NULLServiceInterface;
using NS_LOG_SERVICE1::GetNullServiceInterface;

namespace {

TEST(NullServiceInterface, SaysThatItIsNone) {
    NS_BUNDLEMGR1::ServiceInterface* const interface = GetNullServiceInterface();
    ASSERT_NE(interface, nullptr);
    EXPECT_EQ(interface->GetIFName(), "NULLServiceInterface!");
    EXPECT_FALSE(interface->IsValid());
}

TEST(NullServiceInterface, IsOneForAllThreads) {
    std::vector<NULLServiceInterface*> seen(8);
    std::vector<std::thread> threads;
    for (NULLServiceInterface*& own : seen) {
        threads.emplace_back([&own] { own = GetNullServiceInterface(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(std::set<NULLServiceInterface*>(seen.begin(), seen.end()),
              std::set<NULLServiceInterface*>{GetNullServiceInterface()});
}

TEST(NullServiceInterface, KeepsWhatForbidsDerivationToItself) {
    EXPECT_TRUE((std::is_base_of<FinalClass, NULLServiceInterface>::value));
    EXPECT_FALSE((std::is_convertible<NULLServiceInterface*, FinalClass*>::value));
    EXPECT_FALSE(std::is_default_constructible<FinalClass>::value);
}

}  // namespace
