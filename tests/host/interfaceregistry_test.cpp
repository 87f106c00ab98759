// The registry of interfaces.
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>

#include "bundlemgr/ifbuf.h"
#include "platform/hostcontrol.h"
#include "support/onthreads.h"
#include "support/otherservices.h"

using NS_BUNDLEMGR1::CheckIFBuf;
using NS_BUNDLEMGR1::SetIFBuf;
using NS_REFERENCE_HOST::RemoveFromIFBuf;
using NS_TEST::OtherInterface;
using namespace testing;

namespace {

class InterfaceRegistry : public Test {
  protected:
    ~InterfaceRegistry() override {
        RemoveFromIFBuf(&first_);
        RemoveFromIFBuf(&second_);
    }

    OtherInterface first_;
    OtherInterface second_;
};

TEST_F(InterfaceRegistry, GivesInterfacesInTheOrderOfTheirRegistrationOncePerName) {
    EXPECT_THAT(CheckIFBuf("Name"), IsEmpty());
    EXPECT_TRUE(SetIFBuf("Name", &second_));
    EXPECT_TRUE(SetIFBuf("Name", &first_));
    EXPECT_TRUE(SetIFBuf("Name", &second_));
    EXPECT_TRUE(SetIFBuf("Other", &second_));
    EXPECT_FALSE(SetIFBuf("Name", nullptr));
    EXPECT_THAT(CheckIFBuf("Name"), ElementsAre(&second_, &first_));
    EXPECT_THAT(CheckIFBuf("Other"), ElementsAre(&second_));
}

TEST_F(InterfaceRegistry, TellsNamesApartByEachByteAndGivesACopy) {
    SetIFBuf("Name", &first_);
    const auto before = CheckIFBuf("Name");
    SetIFBuf("Name", &second_);
    EXPECT_THAT(before, ElementsAre(&first_));
    EXPECT_THAT(CheckIFBuf("name"), IsEmpty());
    EXPECT_THAT(CheckIFBuf("Name "), IsEmpty());
    EXPECT_THAT(CheckIFBuf(std::string("Name\0", 5)), IsEmpty());
}

TEST_F(InterfaceRegistry, ForgetsAnObjectUnderAllItsNames) {
    SetIFBuf("Name", &first_);
    RemoveFromIFBuf(&second_);  // what it does not know
    RemoveFromIFBuf(nullptr);
    SetIFBuf("Name", &second_);
    SetIFBuf("Other", &first_);
    RemoveFromIFBuf(&first_);
    EXPECT_THAT(CheckIFBuf("Name"), ElementsAre(&second_));
    EXPECT_THAT(CheckIFBuf("Other"), IsEmpty());
}

// The first object stays put while the others come and go behind it.
TEST_F(InterfaceRegistry, KeepsItsOrderUnderManyThreads) {
    SetIFBuf("Shared", &first_);
    std::atomic<int> wrong{0};
    NS_TEST::OnThreads(8, [&wrong, this](int number) {
        OtherInterface own;
        const std::string ownName = "Own" + std::to_string(number);
        for (int round = 0; round < 500; ++round) {
            SetIFBuf("Shared", &own);
            SetIFBuf(ownName, &own);
            const auto shared = CheckIFBuf("Shared");
            const bool found = shared.size() >= 2 && shared.front() == &first_ &&
                               std::count(shared.begin(), shared.end(), &own) == 1;
            wrong += found && CheckIFBuf(ownName).size() == 1 ? 0 : 1;
            RemoveFromIFBuf(&own);
            wrong += CheckIFBuf(ownName).empty() ? 0 : 1;
        }
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_THAT(CheckIFBuf("Shared"), ElementsAre(&first_));
}

}  // namespace
