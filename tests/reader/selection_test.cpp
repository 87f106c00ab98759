#include "query/selection.h"

#include <gtest/gtest.h>

#include "query/badrequest.h"

namespace {

using namespace NS_LOG_READER;

class SelectionTest : public testing::Test {
  protected:
    SelectionTest() {
        record_.level = 1;
        record_.number = 17;
        record_.time = 1000;
        record_.thread = 5;
        record_.line = 88;
        record_.operation = "op-12";
        record_.interface = "getNE";
        record_.user = "opr1@192.0.2.2";
        record_.file = "../host/ne.cpp";
        record_.function = "Query";
        record_.detail = "it Failed";
        record_.text = "header\n Detail: it Failed";
    }

    bool Matches(void (*choose)(Selection&)) const {
        Selection selection;
        choose(selection);
        return Matcher(selection).Matches(record_);
    }

    Record record_;
};

using ChooseFunction = void (*)(Selection&);

TEST_F(SelectionTest, TakesWhatFulfilsTheCondition) {
    const ChooseFunction matching[] = {
        [](Selection&) {},
        [](Selection& s) { s.since = 1000; },
        [](Selection& s) { s.until = 1001; },
        [](Selection& s) { s.levels = ParseLevels("0..1"); },
        [](Selection& s) { s.levels = ParseLevels("0,1,3"); },
        [](Selection& s) {
            s.operations = {"op-1", "op-12"};
        },
        [](Selection& s) { s.operations = {"op-*"}; },
        [](Selection& s) { s.interfaces = {"get*"}; },
        [](Selection& s) { s.users = {"*@192.0.2.2"}; },
        [](Selection& s) { s.functions = {"Query"}; },
        [](Selection& s) { s.threads = {5}; },
        [](Selection& s) { s.sources = {ParseSource("ne.cpp")}; },
        [](Selection& s) { s.sources = {ParseSource("ne.cpp:88")}; },
        [](Selection& s) { s.sources = {ParseSource("../host/ne.cpp")}; },
        [](Selection& s) { s.numbers = {ParseNumbers("17")}; },
        [](Selection& s) { s.numbers = {ParseNumbers("..17")}; },
        [](Selection& s) { s.numbers = {ParseNumbers("5..20")}; },
        [](Selection& s) { s.pattern = "failed"; },
        [](Selection& s) { s.pattern = "passed", s.invert = true; },
    };
    for (const ChooseFunction choose : matching) {
        EXPECT_TRUE(Matches(choose)) << (&choose - matching);
    }
}

TEST_F(SelectionTest, LeavesOutWhatDoesNot) {
    const ChooseFunction failing[] = {
        [](Selection& s) { s.since = 1001; },
        [](Selection& s) { s.until = 1000; },
        [](Selection& s) { s.levels = ParseLevels("0"); },
        [](Selection& s) { s.levels = ParseLevels("short"); },
        [](Selection& s) { s.operations = {"op-1"}; },
        [](Selection& s) { s.interfaces = {"NE"}; },
        [](Selection& s) { s.users = {"opr*@192.0.2.3"}; },
        [](Selection& s) { s.functions = {"query"}; },
        [](Selection& s) { s.threads = {6}; },
        [](Selection& s) { s.sources = {ParseSource("e.cpp")}; },
        [](Selection& s) { s.sources = {ParseSource("ne.cpp:89")}; },
        [](Selection& s) { s.numbers = {ParseNumbers("18..")}; },
        [](Selection& s) { s.pattern = "FAILED"; },
        [](Selection& s) { s.pattern = "failed", s.invert = true; },
        [](Selection& s) { s.pattern = "failed", s.levels = ParseLevels("0"); },
    };
    for (const ChooseFunction choose : failing) {
        EXPECT_FALSE(Matches(choose)) << (&choose - failing);
    }
}

TEST_F(SelectionTest, OfShortRecordsLooksAtTimeLevelAndText) {
    record_ = Record();
    record_.kind = RecordKind::Short;
    record_.level = kShortLevel;
    record_.text = "short";
    EXPECT_TRUE(Matches([](Selection& s) { s.levels = ParseLevels("-2"); }));
    EXPECT_TRUE(Matches([](Selection& s) { s.pattern = "short"; }));
    EXPECT_FALSE(Matches([](Selection& s) { s.users = {"*"}; }));
    EXPECT_FALSE(Matches([](Selection& s) { s.numbers = {{0, 9}}; }));
    EXPECT_FALSE(Matches([](Selection& s) { s.threads = {0}; }));
}

TEST_F(SelectionTest, RefusesWhatItCannotUnderstand) {
    for (const char* levels : {"", "x", "1,", "1..", "..2", "2..0", "4", "0..4", "-3"}) {
        EXPECT_THROW(ParseLevels(levels), BadRequest) << levels;
    }
    EXPECT_THROW(ParseNumbers("x"), BadRequest);
    EXPECT_THROW(ParseNumbers("1..x"), BadRequest);
    EXPECT_THROW(ParseNumbers("5..2"), BadRequest);
    EXPECT_THROW(ParseSource("ne.cpp:x"), BadRequest);
}

TEST_F(SelectionTest, FitsStarsToAnything) {
    for (const char* pattern : {"*", "a*", "*c", "a*c", "*b*", "abc", "a**c", "*abc*"}) {
        EXPECT_TRUE(FitsWildcards("abc", pattern)) << pattern;
    }
    for (const char* pattern : {"", "b*", "*b", "abcd", "a*d", "ab"}) {
        EXPECT_FALSE(FitsWildcards("abc", pattern)) << pattern;
    }
}

}  // namespace
