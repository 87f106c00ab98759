#include "input/series.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "reader/logtext.h"
#include "support/childprocess.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

namespace {

using namespace NS_LOG_READER;
using namespace NS_TEST;
using testing::ElementsAre;

class SeriesDiscovery : public DirectoryTest {
  protected:
    void Write(const std::string& name, int second, const std::string& text) {
        WriteFile(Path(name), CreatedText(second) + text);
    }

    // "category: file file", one for each series.
    std::vector<std::string> Find(const std::vector<std::string>& paths) {
        problems_.clear();
        std::vector<std::string> found;
        for (const Series& series : FindSeries(paths, problems_)) {
            std::string text = series.category + ":";
            for (const LogFile& file : series.files) {
                text += " " + file.name.path.substr(file.name.path.rfind('/') + 1);
            }
            found.push_back(text);
        }
        return found;
    }

    std::vector<std::string> problems_;
};

TEST_F(SeriesDiscovery, SplitsNamesFromTheRight) {
    const auto parts = ParseLogFileName("/x/unbi_corba_internal_oper_20260305_140709_4711.log.zst");
    ASSERT_TRUE(parts);
    EXPECT_EQ(parts->category, "corba_internal_oper");
    EXPECT_EQ(parts->second, "20260305_140709");
    EXPECT_EQ(parts->process, 4711);
    for (const char* name : {"unbi_a_20260305_140709_.log", "unbi_a_20260305_140709_1.txt",
                             "unbi_20260305_140709_1.log", "unba_a_20260305_140709_1.log",
                             "unbi_a_20260305-140709_1.log", "unbi_a_2026035_140709_1.log",
                             "unbi_a_20260305_140709_1x.log", "unbi_.log", "", ".gz"}) {
        EXPECT_FALSE(ParseLogFileName(name)) << name;
    }
}

TEST_F(SeriesDiscovery, PutsTheFilesOfACategoryAndProcessInTheOrderOfTheirCreation) {
    // Where the clock is set back an hour, names are out of order.
    Write(LogName("oper", 100), 300, LogFrame(5));
    Write(LogName("oper", 200), 200, LogFrame(1));
    Write(LogName("oper", 100, 8), 250, LogFrame(1));
    Write(LogName("debug", 100), 100, "");
    WriteFile(Path("other.txt"), "no log");
    EXPECT_THAT(Find({Path()}),
                ElementsAre("debug: " + LogName("debug", 100),
                            "oper: " + LogName("oper", 200) + " " + LogName("oper", 100),
                            "oper: " + LogName("oper", 100, 8)));
    EXPECT_TRUE(problems_.empty());
}

TEST_F(SeriesDiscovery, TellsAnotherProcessWithTheSameNumber) {
    Write(LogName("oper", 1), 1, LogFrame(1) + LogFrame(2));
    Write(LogName("oper", 2), 2, LogFrame(3));
    Write(LogName("oper", 3), 3, LogFrame(1));
    EXPECT_THAT(Find({Path()}),
                ElementsAre("oper: " + LogName("oper", 1) + " " + LogName("oper", 2),
                            "oper: " + LogName("oper", 3)));
}

TEST_F(SeriesDiscovery, GoesOnWhereNumbersStartAtZeroAgain) {
    Write(LogName("oper", 1), 1, LogFrame(4294967290U));
    Write(LogName("oper", 2), 2, LogFrame(3));
    EXPECT_EQ(Find({Path()}).size(), 1U);
}

TEST_F(SeriesDiscovery, LeavesOutACompressedCopyBesideItsOriginal) {
    Write(LogName("oper", 1), 1, LogFrame(1));
    WriteFile(Path(LogName("oper", 1) + ".gz"), "being written");
    EXPECT_THAT(Find({Path()}), ElementsAre("oper: " + LogName("oper", 1)));
}

TEST_F(SeriesDiscovery, TakesOneOfTwoCompressedCopies) {
    Write(LogName("oper", 1), 1, LogFrame(1));
    EXPECT_EQ(RunProgram({{"gzip", Path(LogName("oper", 1))}}).exitCode, 0);
    WriteFile(Path(LogName("oper", 1) + ".zst"), "being written");
    EXPECT_THAT(Find({Path()}), ElementsAre("oper: " + LogName("oper", 1) + ".gz"));
    EXPECT_TRUE(problems_.empty());
}

TEST_F(SeriesDiscovery, TakesAFileWithSeveralPathsOnce) {
    const std::string name = LogName("oper", 1);
    Write(name, 1, LogFrame(1));
    std::filesystem::create_symlink(name, Path("link.log"));
    EXPECT_THAT(Find({Path(), Path(name), Path("./" + name), Path("link.log")}),
                ElementsAre("oper: " + name));
}

TEST_F(SeriesDiscovery, TakesAnyFileThatIsNamed) {
    Write("copy.txt", 1, LogFrame(1));
    EXPECT_THAT(Find({Path("copy.txt"), Path("copy.txt")}), ElementsAre(": copy.txt"));
}

TEST_F(SeriesDiscovery, ReportsWhatCannotBeRead) {
    WriteFile(Path(LogName("oper", 1) + ".gz"), "\x1f\x8b no gzip");
    EXPECT_TRUE(Find({Path(), Path("none")}).empty());
    EXPECT_EQ(problems_.size(), 2U);
}

}  // namespace
