// Finding the last record of a log file from its end.
#include "agent/lastrecord.h"

#include <gtest/gtest.h>

#include <system_error>

#include "support/files.h"
#include "support/temporarydirectory.h"

namespace {

using NS_REFERENCE_HOST::FindLastRecord;
using NS_REFERENCE_HOST::LastRecord;

const std::string kOpening = "File create at today.\n";
const std::string kClosing = "\nFile close at today.\n";

class FindingTheLastRecord : public NS_TEST::DirectoryTest {
  protected:
    LastRecord Find(const std::string& content) {
        NS_TEST::WriteFile(Path("file"), content);
        return FindLastRecord(Path("file"));
    }
};

TEST_F(FindingTheLastRecord, TakesWhatStandsInFrontOfTheClosingLine) {
    const std::string one = kOpening + "<1>\na\n</1>\n\n";
    EXPECT_EQ(Find(one + "<2>\nb\n Detail: c\n</2>\n\n" + kClosing).begin,
              "<2>\nb\n Detail: c\n</2>\n");
    EXPECT_EQ(Find(one).begin, "<1>\na\n</1>\n") << "no closing line";
    EXPECT_EQ(Find(kOpening + "<7>\na <7>\nb\n</7>\n\n" + kClosing).begin, "<7>\na <7>\nb\n</7>\n")
        << "the number within a line misleads nobody";
    EXPECT_EQ(Find(one + "now,short\n" + kClosing).begin, "now,short\n") << "a short record";
}

TEST_F(FindingTheLastRecord, FindsNoneInAFileWithoutRecords) {
    for (const std::string& content : {kOpening + kClosing, kOpening, std::string()}) {
        EXPECT_EQ(Find(content).begin, "");
    }
}

TEST_F(FindingTheLastRecord, TakesTheLastLineOfATornFile) {
    EXPECT_EQ(Find(kOpening + "<1>\na\n Detail: b").begin, " Detail: b");
    EXPECT_EQ(Find("</1>\n\n").begin, "\n");
    EXPECT_EQ(Find("no newline").begin, "no newline");
}

TEST_F(FindingTheLastRecord, LeavesOutTheMiddleOfALongRecord) {
    const std::string record = "<1>\nbegin" + std::string(1000000, 'x') + "end\n</1>\n";
    const LastRecord found = Find(kOpening + record + "\n" + kClosing);
    EXPECT_EQ(record.compare(0, found.begin.size(), found.begin), 0);
    EXPECT_EQ(record.substr(record.size() - found.end.size()), found.end);
    EXPECT_EQ(found.begin.size() + found.leftOut + found.end.size(), record.size());
}

TEST_F(FindingTheLastRecord, FailsForAFileThatIsNotThere) {
    EXPECT_THROW(FindLastRecord(Path("nothing")), std::system_error);
}

}  // namespace
