// The platform's exceptions.
#include "bundlemgr/processexception.h"

#include <gtest/gtest.h>

using NS_BUNDLEMGR1::InterfaceNotExistException;
using NS_BUNDLEMGR1::ProcessException;

namespace {

TEST(ProcessExceptions, CarryACodeAndThreeTextsAndAreCaughtAsTheirBases) {
    const auto raise = [] {
        throw InterfaceNotExistException(0x41180004, "file", "function", "description");
    };
    EXPECT_THROW(raise(), InterfaceNotExistException);
    try {
        raise();
        FAIL() << "nothing was raised";
    } catch (const ProcessException& raised) {
        EXPECT_EQ(raised.GetCode(), 0x41180004u);
        EXPECT_EQ(raised.GetFile(), "file");
        EXPECT_EQ(raised.GetFunction(), "function");
        EXPECT_EQ(raised.GetDescription(), "description");
        EXPECT_STREQ(static_cast<const std::exception&>(raised).what(), "description");
    }
}

}  // namespace
