// Directories and links that are followed, and files that cannot be opened.
#include <sys/stat.h>

#include <filesystem>

#include "reader/followfixture.h"

namespace {

using namespace NS_TEST;

class FollowPlaces : public FollowProgram {};

TEST_F(FollowPlaces, GoesOnInADirectoryThatTakesThePlaceOfItsOwn) {
    const std::string log = Path("share/log");
    std::filesystem::create_directories(log);
    const auto append = [&](const std::string& place, const std::string& text) {
        Append("share/" + place + "/" + first_, text);
    };
    append("log", CreatedText(1) + Frame(1, "one"));
    ChildProcess program(ChildStart{{QVLOG, "-f", "--fields", "detail", log}});
    ASSERT_TRUE(program.WaitForOutput("one\n"));
    std::filesystem::rename(log, Path("share/old"));
    ASSERT_TRUE(program.WaitForError("share/log: No such file or directory\n"));
    append("old", Frame(2, "moved"));
    ASSERT_TRUE(program.WaitForOutput("moved\n"));
    std::filesystem::create_directory(log);
    append("log", CreatedText(2) + Frame(1, "replaced"));
    ASSERT_TRUE(program.WaitForOutput("replaced\n"));
    append("log", Frame(2, "and on"));
    ASSERT_TRUE(program.WaitForOutput("and on\n"));
    std::filesystem::remove_all(Path("share"));
    ASSERT_TRUE(program.WaitForError("share/log: No such file or directory\n", 2));
    std::filesystem::create_directories(log);
    append("log", CreatedText(3) + Frame(1, "with its parent"));
    ASSERT_TRUE(program.WaitForOutput("with its parent\n"));
}

TEST_F(FollowPlaces, FollowsALinkToAFileElsewhere) {
    std::filesystem::create_directory(Path("elsewhere"));
    std::filesystem::create_directory(Path("log"));
    const std::string target = "elsewhere/target";
    Append(target, CreatedText() + Frame(1, "one"));
    std::filesystem::create_symlink(Path(target), Path("log/" + first_));
    ChildProcess program(ChildStart{{QVLOG, "-f", "--fields", "detail", Path("log")}});
    ASSERT_TRUE(program.WaitForOutput("one\n"));
    Append(target, Frame(2, "two"));
    ASSERT_TRUE(program.WaitForOutput("two\n"));
}

// Whichever of its names the directory tells first.
TEST_F(FollowPlaces, ShowsAFileOfSeveralNamesWhole) {
    std::filesystem::create_directory(Path("log"));
    const auto name = [](int second) { return "log/" + LogName("corbaoper", second); };
    Append(name(5), CreatedText() + Frame(1, "one") + Frame(2, "two").substr(0, 60));
    for (const int second : {1, 3, 7, 9}) {
        std::filesystem::create_symlink(Path(name(5)), Path(name(second)));
        std::filesystem::create_hard_link(Path(name(5)), Path(name(second + 10)));
    }
    ChildProcess program(ChildStart{{QVLOG, "-f", "--fields", "detail", Path("log")}});
    ASSERT_TRUE(program.WaitForOutput("one\n"));
    Append(name(5), Frame(2, "two").substr(60) + Frame(3, "three"));
    ASSERT_TRUE(program.WaitForOutput("three\n"));
    program.Signal(SIGTERM);
    const ProgramResult result = program.Wait();
    EXPECT_EQ(result.output, "one\ntwo\nthree\n");
    EXPECT_EQ(CountIn(result.errors, "torn"), 0) << result.errors;
}

TEST_F(FollowPlaces, TellsOnceWhatItCannotOpen) {
    const std::string pipe = Path(LogName("debug"));
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    Append(first_, CreatedText() + Frame(1, "one"));
    const auto program = Start({pipe});
    ASSERT_TRUE(program->WaitForOutput("one\n"));
    AwaitLook(*program);
    program->CloseOutput();
    const ProgramResult result = program->Wait();
    EXPECT_EQ(CountIn(result.errors, "it is a pipe or a device"), 1) << result.errors;
    EXPECT_EQ(result.exitCode, 2);
}

TEST_F(FollowPlaces, OpensWhatItCouldNotOpenOnceOthersAreClosed) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer needs descriptors to look at what was thrown";
#endif
    Append(first_, CreatedText());
    ChildProcess program(
        ChildStart{{"prlimit", "--nofile=14:14", QVLOG, "-f", "--fields", "detail", Path()}});
    const auto name = [](int file) { return LogName("debug", file, kEnded); };
    int last = 0;
    while (CountIn(program.GetErrors(), "Too many open files") == 0) {
        ++last;
        ASSERT_LT(last, 14);
        Append(name(last), Frame(1, "file" + std::to_string(last)));
        AwaitLook(program);
    }
    AwaitLook(program);
    SetAge(name(1), std::chrono::hours(1));
    std::filesystem::remove(Path(name(1)));
    ASSERT_TRUE(program.WaitForOutput("file" + std::to_string(last) + "\n"));
    EXPECT_EQ(CountIn(program.GetErrors(), "Too many open files"), 1);
}

}  // namespace
