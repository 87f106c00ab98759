#include "query/selectiontext.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace NS_LOG_READER;

TEST(SelectionText, NamesEveryCondition) {
    Selection selection;
    EXPECT_EQ(DescribeSelection(selection), "everything");
    selection.hosts = {"mgr*"};
    selection.categories = {"debug", "oper"};
    selection.processes = {7};
    selection.levels = {{0, 0}, {2, 3}};
    selection.operations = {"op-1"};
    selection.interfaces = {"getNE"};
    selection.users = {""};
    selection.threads = {-7};
    selection.sources = {{"ne.cpp", 88}, {"a.cpp", std::nullopt}};
    selection.functions = {"Query"};
    selection.numbers = {{1, 1}, {3, 5}, {9, std::numeric_limits<uint32_t>::max()}};
    selection.pattern = "NE-7";
    EXPECT_EQ(DescribeSelection(selection),
              "host mgr*; category debug or oper; process 7; level 0 or 2..3; operation op-1; "
              "interface getNE; user \"\"; thread -7; source ne.cpp:88 or a.cpp; function Query; "
              "number 1 or 3..5 or 9..; pattern NE-7");
}

TEST(SelectionText, SaysWhenAPatternMustNotMatch) {
    Selection selection;
    selection.pattern = "NE-7";
    selection.invert = true;
    EXPECT_EQ(DescribeSelection(selection), "not pattern NE-7");
    selection.isFixed = true;
    EXPECT_EQ(DescribeSelection(selection), "not text NE-7");
}

TEST(SelectionText, NamesTheBoundsOfTime) {
    Selection selection;
    selection.since = 0;
    selection.until = kMicrosPerSecond;
    EXPECT_EQ(DescribeSelection(selection),
              "since " + FormatLocalStamp(0) + "; until " + FormatLocalStamp(kMicrosPerSecond));
}

}  // namespace
