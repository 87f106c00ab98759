// The file that a page is written into.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "reader/programfixture.h"
#include "support/tracing.h"

namespace {

using namespace NS_TEST;
using testing::HasSubstr;

class PageFile : public ReaderProgram {
  protected:
    void SetUp() override { WriteSample(); }

    ProgramResult Report() const { return RunProgram(words_); }

    // With what strace does to the system call that gives the page its name. `signals`: which
    // signals end the program, in words of env.
    ProgramResult ReportWithRename(const std::string& change,
                                   const std::string& signals = "--default-signal") const {
        std::vector<std::string> words = {"strace", "-qq",
                                          "-o",     "/dev/null",
                                          "-e",     "trace=rename,renameat,renameat2",
                                          "-e",     "inject=rename,renameat,renameat2:" + change,
                                          "env",    signals};
        words.insert(words.end(), words_.begin(), words_.end());
        return RunProgram(words, {{"ASAN_OPTIONS", "detect_leaks=0"}});
    }

    // The name of a page that was begun; empty: there is none.
    std::string FindUnfinished() const {
        for (const auto& entry : std::filesystem::directory_iterator(Path())) {
            const std::string name = entry.path().filename().string();
            if (name.find("unfinished") != std::string::npos) {
                return name;
            }
        }
        return "";
    }

    struct stat Status(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(::stat(Path(name).c_str(), &status), 0) << name;
        return status;
    }

  private:
    const std::vector<std::string> words_ = {QVLOG, "report", "--html", Path("page.html"), Path()};
};

TEST_F(PageFile, NeverReplacesALogFile) {
    const std::string log = Path(LogName("oper", 1));
    const std::string other = Path("other.txt");
    const std::string link = Path("link.html");
    std::filesystem::copy_file(log, other);
    std::filesystem::create_symlink(log, link);
    const std::string text = ReadFile(log);
    const std::vector<std::vector<std::string>> cases = {{log, Path()},
                                                         {log, "--category", "debug", Path()},
                                                         {link, "--category", "debug", Path()},
                                                         {Path(LogName("new", 1)), Path()},
                                                         {Path("./other.txt"), other},
                                                         {other, "--category", "debug", other}};
    for (std::vector<std::string> words : cases) {
        words.insert(words.begin(), {"report", "--html"});
        const ProgramResult result = Run(words);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(words);
        EXPECT_THAT(result.errors, testing::AnyOf(HasSubstr("the name of a log file"),
                                                  HasSubstr("to be made of this file")));
    }
    EXPECT_EQ(ReadFile(log), text);
    EXPECT_EQ(ReadFile(other), text);
    EXPECT_FALSE(std::filesystem::exists(Path(LogName("new", 1))));
}

TEST_F(PageFile, NeverReplacesALogFileThatWasMoved) {
    const std::string moved = Path(LogName("oper", 1) + ".1");
    WriteFile(moved, CreatedText(1) + LogFrame(1));
    const std::string text = ReadFile(moved);
    const ProgramResult result = Run({"report", "--html", moved, Path()});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.errors,
              "qvlog: " + moved + ": this is a log file, and would be replaced by a page\n");
    EXPECT_EQ(ReadFile(moved), text);
}

// What was there before is of more use than half a page.
TEST_F(PageFile, HasItsNameWhenItIsComplete) {
    if (!MayTrace()) {
        GTEST_SKIP() << kNoTrace;
    }
    WriteFile(Path("old.html"), "old");
    std::filesystem::create_symlink("old.html", Path("page.html"));
    EXPECT_EQ(ReportWithRename("error=EIO").exitCode, 2);
    EXPECT_EQ(ReadFile(Path("old.html")), "old");
    EXPECT_EQ(FindUnfinished(), "");
    EXPECT_EQ(Report().exitCode, 0);
    EXPECT_THAT(ReadFile(Path("old.html")), HasSubstr("</html>"));
    EXPECT_EQ(FindUnfinished(), "");
    EXPECT_TRUE(std::filesystem::is_symlink(Path("page.html")));
}

TEST_F(PageFile, LeavesNothingBehindWhenItIsInterrupted) {
    if (!MayTrace()) {
        GTEST_SKIP() << kNoTrace;
    }
    for (const std::string interrupt : {"SIGHUP", "SIGINT", "SIGTERM"}) {
        EXPECT_LT(ReportWithRename("error=EIO:signal=" + interrupt).exitCode, 0) << interrupt;
        EXPECT_EQ(FindUnfinished(), "") << interrupt;
        EXPECT_EQ(ReportWithRename("error=EIO:signal=" + interrupt, "--ignore-signal").exitCode, 2)
            << interrupt;
    }
}

TEST_F(PageFile, IsMadeBesideOthersOfItsName) {
    WriteFile(Path("page.html.unfinished"), "own");
    EXPECT_EQ(Report().exitCode, 0);
    EXPECT_EQ(ReadFile(Path("page.html.unfinished")), "own");
}

TEST_F(PageFile, IsWrittenWhereALinkLeadsThoughNothingIsThereYet) {
    std::filesystem::create_directory(Path("pages"));
    std::filesystem::create_symlink("pages/link.html", Path("page.html"));
    std::filesystem::create_symlink(Path("new.html"), Path("pages/link.html"));
    EXPECT_EQ(Report().exitCode, 0);
    EXPECT_THAT(ReadFile(Path("new.html")), HasSubstr("</html>"));
    EXPECT_TRUE(std::filesystem::is_symlink(Path("page.html")));
    EXPECT_TRUE(std::filesystem::is_symlink(Path("pages/link.html")));
    std::filesystem::remove(Path("new.html"));
    std::filesystem::create_symlink(Path("page.html"), Path("new.html"));
    const ProgramResult circle = Report();
    EXPECT_EQ(circle.exitCode, 2);
    EXPECT_THAT(circle.errors, HasSubstr("page.html: Too many levels of symbolic links\n"));
}

TEST_F(PageFile, KeepsTheRightsOfThePageThatItReplaces) {
    WriteFile(Path("page.html"), "old");
    ASSERT_EQ(::chmod(Path("page.html").c_str(), 0640), 0);
    // Only root may give files away.
    static_cast<void>(!::chown(Path("page.html").c_str(), 12345, 12346));
    const struct stat before = Status("page.html");
    EXPECT_EQ(Report().exitCode, 0);
    const struct stat after = Status("page.html");
    EXPECT_NE(before.st_ino, after.st_ino);
    EXPECT_EQ(before.st_mode, after.st_mode);
    EXPECT_EQ(before.st_uid, after.st_uid);
    EXPECT_EQ(before.st_gid, after.st_gid);
}

TEST_F(PageFile, HasTheRightsThatTheUserGivesToNewFiles) {
    const std::string command = R"(umask 026; exec "$0" report --html "$1" "$2")";
    RunProgram({"sh", "-c", command, QVLOG, Path("page.html"), Path()});
    EXPECT_EQ(Status("page.html").st_mode & 0777, 0640U);
}

TEST_F(PageFile, GoesIntoAPipe) {
    EXPECT_THAT(
        RunProgram({"sh", "-c", R"("$0" report --html /dev/stdout "$1" | cat)", QVLOG, Path()})
            .output,
        HasSubstr("</html>"));
}

// It may have no name, or hold something already.
TEST_F(PageFile, GoesBehindWhatStandsInTheFileThatIsTheOutput) {
    for (const std::string output : {"/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"}) {
        WriteFile(Path("all.html"), "before ");
        const ProgramResult result = RunProgram(
            {"sh", "-c", R"(exec >> "$2"; "$0" report --html "$3" "$1"; printf ' behind')", QVLOG,
             Path(LogName("oper", 1)), Path("all.html"), output});
        EXPECT_EQ(result.errors, "");
        const std::string all = ReadFile(Path("all.html"));
        EXPECT_EQ(all.substr(0, 7), "before ") << output;
        EXPECT_THAT(all, HasSubstr("</html>")) << output;
        EXPECT_EQ(all.substr(all.size() - 7), " behind") << output;
        EXPECT_EQ(FindUnfinished(), "");
    }
}

// In a directory where everybody may make links, one of another user is not followed.
TEST_F(PageFile, IsNotWrittenWhereTheSystemFollowsNoLink) {
    std::filesystem::create_directory(Path("sticky"));
    std::filesystem::create_symlink(Path("new.html"), Path("sticky/page.html"));
    ASSERT_EQ(::chmod(Path("sticky").c_str(), 01777), 0);
    if (::lchown(Path("sticky/page.html").c_str(), 12345, 12345) != 0 ||
        ::open(Path("sticky/page.html").c_str(), O_RDONLY) != -1 || errno != EACCES) {
        GTEST_SKIP() << "only root may give links away, and not every system protects from them";
    }
    const ProgramResult result = Run({"report", "--html", Path("sticky/page.html"), Path()});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.errors, "qvlog: " + Path("sticky/page.html") + ": Permission denied\n");
    EXPECT_FALSE(std::filesystem::exists(Path("new.html")));
}

}  // namespace
