// The end of a file whose writer was stopped in the middle.
#include "channel/tornend.h"

#include <gtest/gtest.h>

#include <string>

#include "channel/channelfixture.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

class TornEnd : public FrozenClockTest {
  protected:
    // What is left of the text without its torn end.
    std::string WholeOf(const std::string& text) {
        WriteFile(Path("file"), text);
        FileStream stream;
        EXPECT_FALSE(stream.Continue(Path("file"), 0640));
        uint64_t torn = 0;
        EXPECT_FALSE(FindTornEnd(stream, torn));
        EXPECT_LE(torn, text.size());
        return text.substr(0, text.size() - torn);
    }
};

TEST_F(TornEnd, IsFoundWhereverARecordWasCut) {
    const std::string before = Created() + Frame(9, "one\ntwo") + ShortFrame("short");
    for (const std::string& record :
         {Frame(10, "text\nin lines\n"), DumpFrame(11, "error", DumpedFrame("kept")),
          ShortFrame("short too")}) {
        EXPECT_EQ(WholeOf(before + record), before + record);
        for (size_t length = 0; length < record.size(); length += 7) {
            EXPECT_EQ(WholeOf(before + record.substr(0, length)), before) << length;
        }
    }
}

TEST_F(TornEnd, IsNotSeenInTheLinesAboutTheFile) {
    const std::string text = Created() + Frame(1, "one") + Closed();
    for (const std::string& whole : {std::string(), Created(), text, text + Created()}) {
        EXPECT_EQ(WholeOf(whole), whole);
    }
    EXPECT_EQ(WholeOf(Created().substr(0, 20)), "");
    EXPECT_EQ(WholeOf(text + Created().substr(0, 20)), text);
    // The blank line in front of the line about the end may stay.
    const std::string record = Created() + Frame(1, "one");
    EXPECT_EQ(WholeOf(record + Closed().substr(0, 20)), record + "\n");
}

// Whoever wrote the line left the torn record where it was.
TEST_F(TornEnd, IsNotSeenInATornRecordInFrontOfALineAboutTheFile) {
    const std::string torn = Created() + Frame(1, "one") + Frame(2, "two").substr(0, 60) + "\n";
    for (const std::string& line : {Created(), Closed()}) {
        EXPECT_EQ(WholeOf(torn + line), torn + line);
    }
}

TEST_F(TornEnd, MayBeLongOrFullOfZeros) {
    const std::string before = Created() + Frame(1, "one");
    const std::string lines = "<2>\n" + std::string(300000, 'x') + "\n" + std::string(70000, 'y');
    EXPECT_EQ(WholeOf(before + lines), before);
    EXPECT_EQ(WholeOf(before + std::string(5000, '\0')), before);
}

// A dump with many ASN messages is longer than any other piece. The borders of the parts in which
// the file is read lie anywhere in its tags.
TEST_F(TornEnd, MayBeLongerThanTheLargestPartThatIsRead) {
    constexpr size_t kLargestPart = size_t{16} * 1024 * 1024;
    const std::string before = Created() + Frame(1, "one") + ShortFrame("short");
    const std::string line = std::string(1023, 'x') + "\n";
    std::string lines;
    while (lines.size() < 2 * kLargestPart + 5000) {
        lines += line;
    }
    EXPECT_TRUE(WholeOf(before + "<2>\n" + lines) == before);
    for (size_t tagBeforeBorder = 0; tagBeforeBorder <= 5; ++tagBeforeBorder) {
        const std::string torn = ("<2>\n" + lines).substr(0, kLargestPart + tagBeforeBorder);
        EXPECT_TRUE(WholeOf(before + torn) == before) << tagBeforeBorder;
    }
    const std::string whole = before + "<2>\n" + lines + "</2>\n\n";
    EXPECT_TRUE(WholeOf(whole + "<3>\n" + lines) == whole);
}

// Such a file is nobody's log; only the line that is written next must begin at its beginning.
TEST_F(TornEnd, IsTheLastLineOfATextWithoutRecords) {
    std::string text(size_t{17} * 1024 * 1024, 'x');
    for (size_t end = 1023; end < text.size(); end += 1024) {
        text[end] = '\n';
    }
    EXPECT_TRUE(WholeOf(text + "rest") == text);
    EXPECT_EQ(WholeOf("one\ntwo\nrest"), "one\ntwo\n");
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
