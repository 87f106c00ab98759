// The platform's exceptions.
#include "bundlemgr/processexception.h"

#include <gtest/gtest.h>

using NS_BUNDLEMGR1::InterfaceNotExistException;
using NS_BUNDLEMGR1::ProcessException;

namespace {

TEST(ProcessExceptions, CarryACodeAndThreeTexts) {
    const ProcessException raised(0x41180004, "file", "function", "description");
    EXPECT_EQ(raised.GetCode(), 0x41180004u);
    EXPECT_EQ(raised.GetFile(), "file");
    EXPECT_EQ(raised.GetFunction(), "function");
    EXPECT_EQ(raised.GetDescription(), "description");
    EXPECT_STREQ(raised.what(), "description");
}

TEST(ProcessExceptions, AreCaughtAsTheirBases) {
    const auto raise = [] { throw InterfaceNotExistException(7, "file", "function", "gone"); };
    EXPECT_THROW(raise(), InterfaceNotExistException);
    EXPECT_THROW(raise(), ProcessException);
    try {
        raise();
        FAIL() << "nothing was raised";
    } catch (const std::exception& caught) {
        EXPECT_STREQ(caught.what(), "gone");
        EXPECT_EQ(dynamic_cast<const InterfaceNotExistException&>(caught).GetCode(), 7u);
    }
}

}  // namespace
