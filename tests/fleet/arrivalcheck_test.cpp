// Which files of a host have arrived where they are sent.
#include "ship/arrivalcheck.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "fleet/keepingtarget.h"
#include "input/bytesource.h"
#include "support/childprocess.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

namespace {

using namespace NS_TEST;

constexpr const char* kArrivedName = "unbi_debug_20260305_140709_1.log";

class ArrivalCheckTest : public DirectoryTest {
  protected:
    ArrivalCheckTest() : check_("host1", std::make_unique<KeepingTarget>(kept_)) {
        WriteFile(FilePath(), Contents());
        kept_.files.push_back(
            {{"host1", kArrivedName, "File create at 2026-03-05T14:07:09.000001+01:00.\n"},
             Contents(),
             true,
             false,
             false,
             0});
    }

    std::string FilePath() const { return Path(kArrivedName); }

    static std::string Contents() {
        return "File create at 2026-03-05T14:07:09.000001+01:00.\n"
               "2026-03-05T14:07:10.000001+01:00,one\n";
    }

    Kept::File& TheFile() { return kept_.files[0]; }

    Kept kept_;
    ArrivalCheck check_;
};

TEST_F(ArrivalCheckTest, LetsAFileGoOfWhichEveryByteHasArrived) {
    EXPECT_EQ(check_.WhyItStays(FilePath()), "");
    EXPECT_EQ(kept_.files.size(), 1U) << "asking tells the target nothing";
}

TEST_F(ArrivalCheckTest, KeepsAFileThatTheTargetDoesNotKnow) {
    TheFile().identity.host = "host2";
    EXPECT_EQ(check_.WhyItStays(FilePath()), "nothing of it has arrived");
    EXPECT_EQ(kept_.files.size(), 1U);
}

TEST_F(ArrivalCheckTest, KeepsTheSecondContentsOfAName) {
    TheFile().identity.first[40] = '9';
    EXPECT_EQ(check_.WhyItStays(FilePath()), "nothing of it has arrived");
}

TEST_F(ArrivalCheckTest, KeepsAFileOfWhichTheLastByteIsMissing) {
    TheFile().bytes.pop_back();
    EXPECT_EQ(check_.WhyItStays(FilePath()), "85 of 86 bytes have arrived");
}

TEST_F(ArrivalCheckTest, KeepsAFileThatIsNotKnownToBeDone) {
    TheFile().isComplete = false;
    EXPECT_EQ(check_.WhyItStays(FilePath()), "its shipper has not told that it is done with it");
}

TEST_F(ArrivalCheckTest, KeepsAFileThatIsToBeSentAgain) {
    TheFile().isWantedAgain = true;
    EXPECT_EQ(check_.WhyItStays(FilePath()), "it is wanted again");
}

TEST_F(ArrivalCheckTest, LetsAnEmptyFileGo) {
    WriteFile(FilePath(), "");
    kept_.files.clear();
    EXPECT_EQ(check_.WhyItStays(FilePath()), "");
}

TEST_F(ArrivalCheckTest, KnowsAFileWhoseFirstLineHasNoEnd) {
    const std::string text = "File create at 20";
    WriteFile(FilePath(), text);
    TheFile().identity.first = TheFile().bytes = text;
    EXPECT_EQ(check_.WhyItStays(FilePath()), "");
    WriteFile(FilePath(), std::string(300, 'x'));
    TheFile().identity.first = std::string(256, 'x');
    TheFile().bytes = std::string(300, 'x');
    EXPECT_EQ(check_.WhyItStays(FilePath()), "");
}

TEST_F(ArrivalCheckTest, CountsTheBytesThatACompressedFileWasMadeOf) {
    ASSERT_EQ(RunProgram({{"gzip", FilePath()}}).exitCode, 0);
    EXPECT_EQ(check_.WhyItStays(FilePath() + ".gz"), "");
    TheFile().bytes.pop_back();
    EXPECT_EQ(check_.WhyItStays(FilePath() + ".gz"), "85 of 86 bytes have arrived");
}

TEST_F(ArrivalCheckTest, FailsWhenTheTargetOrTheFileCannotBeRead) {
    EXPECT_THROW(check_.WhyItStays(Path("unbi_debug_20260305_140709_2.log")),
                 NS_LOG_READER::ReadError);
    kept_.isAway = true;
    EXPECT_THROW(check_.WhyItStays(FilePath()), TargetError);
}

}  // namespace
