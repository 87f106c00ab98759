#include "query/pattern.h"

#include <gtest/gtest.h>

#include "query/badrequest.h"

namespace {

using namespace NS_LOG_READER;

TEST(Pattern, IgnoresCaseUnlessItHasACapital) {
    const struct {
        const char* pattern;
        bool isFixed;
        const char* text;
        bool matches;
    } cases[] = {
        {"error", false, "an ERROR", true},
        {"Error", false, "an ERROR", false},
        {"e.ror", false, "an ERROR", true},
        {"\\Serror", false, "an-ERROR", true},
        {"E.ror", false, "an ERROR", false},
        {"a.c", true, "abc", false},
        {"a.c", true, "xA.C", true},
        {"^b$", false, "a\nb\nc", true},
        {"b c", false, "b\nc", false},
        {"z\xc3\xbcrich", false, "Z\xc3\x9cRICH", true},
        {"a.b", false,
         "a\xff"
         "b",
         true},
        {"\xc3\xbc", true, "\xc3\x9c", true},
        {"x|y", false, "only Y", true},
        {"", false, "anything", true},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(Pattern(test.pattern, test.isFixed).Matches(test.text), test.matches)
            << test.pattern << " in " << test.text;
    }
}

TEST(Pattern, GoesBackOverAllOfALargeRecord) {
    const std::string text = "begin" + std::string(100000, 'x') + "end";
    for (const char* pattern : {"(.|\\n)*", "begin(.|\\n)*end", "begin(.|\\n)*\\x65nd"}) {
        const Pattern wanted(pattern, false);
        EXPECT_EQ(wanted.Find(text, 0), text) << pattern;
        EXPECT_EQ(wanted.Find(text, 0), text) << pattern;
        EXPECT_EQ(wanted.Failure(), "") << pattern;
    }
    EXPECT_FALSE(Pattern("begin(.|\\n)*and", false).Matches(text));
}

TEST(Pattern, SaysWhenItsSearchWasGivenUp) {
    const Pattern pattern("(*LIMIT_MATCH=100)^(a+)+$", false);
    EXPECT_FALSE(pattern.Matches(std::string(40, 'a') + "b"));
    EXPECT_EQ(pattern.Failure(), "match limit exceeded");
    EXPECT_FALSE(pattern.Matches("b"));
    EXPECT_EQ(pattern.Failure(), "");
    EXPECT_TRUE(pattern.Matches("aa"));
    EXPECT_EQ(pattern.Failure(), "");
}

TEST(Pattern, ThatCannotBeUnderstoodIsRefused) {
    EXPECT_THROW(Pattern("a(b", false), BadRequest);
    EXPECT_NO_THROW(Pattern("a(b", true));
}

TEST(Pattern, KnowsATextThatEveryMatchHolds) {
    const struct {
        const char* expression;
        const char* literal;
    } cases[] = {
        {"abc", "abc"},
        {"ab.cde", "cde"},
        {"abc?de", "ab"},
        {"abcd*e", "abc"},
        {"ab{0,3}cd", "cd"},
        {"ab+cd", "ab"},
        {"ab|cdef", ""},
        {"(abc)?de", "de"},
        {"a(?i)bcd", ""},
        {"[abc]+de", "de"},
        {"[]abc]de", "de"},
        {"[^]abc]de", "de"},
        {"ab\\.cd", "ab.cd"},
        {"ab\\dcde", "cde"},
        {"ab\\x41bcd", "ab"},
        {"^abc$", "abc"},
        {"\\Qa.b\\E", ""},
        {"a(bcd(ef)g)hi", "hi"},
        {"ab\\d?cde", "cde"},
        {"ab\\.?cde", "cde"},
        {"a[\\]b]cd", "cd"},
        {"[[:digit:]] failed", " failed"},
        {"ne[[:punct:]]cpp", "cpp"},
        {"a[^[:^alpha:]]+[[:digit:]b]cd", "cd"},
        {"ab[[:<:]]c", "ab"},
        {"a[[:]cd", "cd"},
        {"a[[:b]cd", "cd"},
        {"a[\\c]]cd", ""},
        {"abc\\E?d", ""},
        {"ab\xc3\xbc?d", "ab"},
        {"ab{c[}]d", "a"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(RequiredLiteral(test.expression, false), test.literal) << test.expression;
    }
    EXPECT_EQ(RequiredLiteral("stra\xc3\x9f"
                              "e",
                              true),
              "");
}

}  // namespace
