#include <sys/stat.h>

#include "reader/programfixture.h"

namespace {

using namespace NS_TEST;

class Show : public ReaderProgram {};

TEST_F(Show, SelectsByEveryOption) {
    WriteSample();
    const struct {
        std::vector<std::string> words;
        const char* details;
    } cases[] = {
        {{}, "begin one,tick,begin two,NE-7 does not answer,asks NE-7,end two,"},
        {{"--since", "2026-03-05T14:00:20"}, "begin two,NE-7 does not answer,end two,"},
        {{"-U", "2026-03-05T14:00:15+01:00"}, "begin one,asks NE-7,"},
        {{"-l", "0"}, "NE-7 does not answer,"},
        {{"-l", "short"}, "tick,"},
        {{"--level", "0..1"}, "begin one,begin two,NE-7 does not answer,end two,"},
        {{"--category", "deb*"}, "tick,NE-7 does not answer,asks NE-7,"},
        {{"--process", "7", "-l", "0"}, "NE-7 does not answer,"},
        {{"--process", "8"}, "1"},
        {{"--operation", "op-2"}, "begin two,end two,"},
        {{"--operation", "op-2", "--operation", "op-1", "-l", "1"}, "begin one,begin two,end two,"},
        {{"--interface", "getNE", "-l", "3"}, "asks NE-7,"},
        {{"--interface", "getN"}, "1"},
        {{"--user", "opr*", "-l", "3"}, "asks NE-7,"},
        {{"--thread", "-7", "-l", "0"}, "NE-7 does not answer,"},
        {{"--source", "ne.cpp:88", "-l", "0"}, "NE-7 does not answer,"},
        {{"--source", "ne.cpp:89"}, "1"},
        {{"--function", "Query", "-l", "0"}, "NE-7 does not answer,"},
        {{"--number", "2", "--category", "debug"}, "NE-7 does not answer,asks NE-7,"},
        {{"--number", "3.."}, "end two,"},
        {{"-g", "ne-7"}, "NE-7 does not answer,asks NE-7,"},
        {{"--grep", "NE-7 D"}, "1"},
        {{"--grep", "[[:alpha:]] two"}, "begin two,end two,"},
        {{"-F", "-g", "o.e"}, "1"},
        {{"-g", "e$|o$", "--category", "oper"}, "begin one,begin two,end two,"},
        {{"-g", "ne-7", "-v"}, "begin one,tick,begin two,end two,"},
        {{"-g", "ne-7", "--unsorted", "--until", "2026-03-05T14:00:12"}, "asks NE-7,"},
        {{"-n", "2"}, "asks NE-7,end two,"},
        {{"--lines", "0"}, "1"},
        {{"-r", "-n", "3"}, "end two,asks NE-7,NE-7 does not answer,"},
        {{"--story", "-l", "0"}, "begin one,NE-7 does not answer,asks NE-7,"},
        {{"--story", "-l", "0", "--category", "debug"},
         "begin one,NE-7 does not answer,asks NE-7,"},
        {{"-C", "1", "-g", "begin two"}, "begin one,begin two,end two,"},
        {{"-B", "1", "-g", "asks"}, "NE-7 does not answer,asks NE-7,"},
        {{"-A", "1", "-g", "tick|end"}, "tick,NE-7 does not answer,--,end two,"},
        {{"-C", "1", "-n", "1", "-g", "begin"}, "begin two,end two,"},
        {{"-A", "1", "-n", "1", "-g", "begin one|end"}, "end two,"},
        {{"-A", "1", "-n", "1", "-g", "tick|end"}, "end two,"},
        {{"-C", "1", "-n", "2", "-g", "tick|end"},
         "tick,--,begin two,--,NE-7 does not answer,--,end two,"},
        {{"-r", "-B", "1", "-n", "1", "-g", "begin|end"}, "end two,"},
        {{"-r", "-B", "1", "-n", "1", "-g", "end"}, "end two,begin two,"},
        {{"-r", "-C", "1", "-n", "1", "-g", "begin two|tick"}, "end two,begin two,begin one,"},
        {{"-r", "-C", "2", "-n", "2", "-g", "two|asks"},
         "end two,--,asks NE-7,NE-7 does not answer,tick,"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(Details(test.words), test.details) << testing::PrintToString(test.words);
    }
}

TEST_F(Show, CountsAndEndsAsGrepDoes) {
    WriteSample();
    EXPECT_EQ(Run({"-c", Path()}).output, "6\n");
    EXPECT_EQ(Run({"-c", "-g", "begin", "-C", "1", Path()}).output, "2\n");
    EXPECT_EQ(Run({"-c", "-n", "4", Path()}).output, "4\n");
    EXPECT_EQ(Run({"-c", "-n", "7", Path()}).output, "6\n");
    EXPECT_EQ(Run({"-c", "-g", "nothing", Path()}).exitCode, 1);
    const ProgramResult missing = Run({"-c", Path(), Path("none.log")});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_EQ(missing.output, "6\n");
    EXPECT_EQ(missing.errors, "qvlog: " + Path("none.log") + ": No such file or directory\n");
}

TEST_F(Show, TakesInAllOfTheHourThatComesTwice) {
    WriteSample();
    // At 15:00 of the sample's day the clock went back; the sample is of the hour after that.
    const std::map<std::string, std::string> zone = {{"TZ", "CET-1CEST,J300/0,J64/15"}};
    EXPECT_EQ(Run({"-c", "-S", "2026-03-05T14:00:35", Path()}, zone).output, "6\n");
    EXPECT_EQ(Run({"-c", "-U", "2026-03-05T14:00:35", Path()}, zone).output, "5\n");
}

TEST_F(Show, TellsOnceThatAPatternWasGivenUpAndGoesOn) {
    const std::string endless = "1" + std::string(40, 'a') + "b";
    const std::string first = LogFrame(1, Fields(10, "1a"));
    WriteFile(Path(LogName("oper", 1)), first + LogFrame(2, Fields(20, endless)) +
                                            LogFrame(3, Fields(30, endless)) +
                                            LogFrame(4, Fields(40, "1aa")));
    const std::string pattern = "(*LIMIT_MATCH=1000)1(a+)+$";
    const std::string told = "2qvlog: " + Path(LogName("oper", 1)) + ": at byte " +
                             std::to_string(first.size()) +
                             ": the search for the pattern was given up: match limit exceeded "
                             "(other records may be concerned as well)\n";
    EXPECT_EQ(Details({"-g", pattern}), "1a,1aa," + told);
    EXPECT_EQ(Details({"-g", pattern, "--story"}),
              "1a," + endless + "," + endless + ",1aa," + told);
    for (const char* command : {"stats", "-c"}) {
        EXPECT_EQ("2" + Run({command, "-g", pattern, Path()}).errors, told) << command;
    }
}

TEST_F(Show, ReadsTheDirectoryOfTheAgentByDefault) {
    WriteFile(Path("log/" + LogName("oper")), LogFrame(1));
    EXPECT_EQ(Run({"-c"}, {{"_APP_SHARE_DIR", Path()}}).output, "1\n");
    EXPECT_EQ(Run({"-c"}, {{"_APP_SHARE_DIR", ""}}).exitCode, 2);
}

TEST_F(Show, RefusesWhatItDoesNotUnderstand) {
    for (const char* option :
         {"--nonsense", "--level=x", "--since=soon", "--grep=a(", "--invert", "--number=x",
          "--output=xml", "--fields=x", "--color=x", "--source=a:b", "--lines=x"}) {
        const ProgramResult result = Run({option, Path()});
        EXPECT_EQ(result.exitCode, 2) << option;
        EXPECT_EQ(result.output, "") << option;
        EXPECT_EQ(result.errors.substr(0, 7), "qvlog: ") << option;
    }
    EXPECT_EQ(Run({"-f", "--story", Path()}).exitCode, 2);
}

TEST_F(Show, TellsAProblemOnceHoweverOftenItReads) {
    const auto write = [&](uint32_t torn) {
        std::string text = CreatedText();
        for (uint32_t number = 1; number <= torn; ++number) {
            text += LogFrame(number).substr(0, 99);
        }
        WriteFile(Path(LogName("oper")), text + LogFrame(torn + 1) + ClosedText());
    };
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"-n", "1", "-C", "1", Path()},
          {"--reverse", "-n", "99", "-C", "1", Path()},
          {"-n", "99", "-C", "1", Path()}}) {
        write(4);
        const std::string few = Run(words).errors;
        EXPECT_EQ(CountIn(few, " is torn, 99 bytes\n"), 4) << few;
        EXPECT_EQ(CountIn(few, "\n"), 4) << few;
        write(12);
        const std::string many = Run(words).errors;
        EXPECT_EQ(CountIn(many, " is torn, 99 bytes\n"), 10) << many;
        EXPECT_EQ(CountIn(many, ": and more; \"qvlog verify\" tells all\n"), 1) << many;
        EXPECT_EQ(CountIn(many, "\n"), 11) << many;
    }
}

TEST_F(Show, GivesFilesBackByteByByte) {
    const std::string text = CreatedText() + LogFrame(1) + std::string(70, '\0') +
                             ShortText(2, "x") + LogDump(3, Fields(3, "", 0), DumpedText({})) +
                             LogFrame(4).substr(0, 99);
    WriteFile(Path(LogName("oper")), text);
    const ProgramResult result = Run({"-o", "raw", Path()});
    EXPECT_EQ(result.output, text);
    EXPECT_EQ(result.errors, "qvlog: " + Path(LogName("oper")) + ": at byte " +
                                 std::to_string(CreatedText().size() + LogFrame(1).size()) +
                                 ": 70 bytes that belong to no record\n" +
                                 "qvlog: " + Path(LogName("oper")) + ": at byte " +
                                 std::to_string(text.size() - 99) +
                                 ": record 4 is torn, 99 bytes\n");
    EXPECT_EQ(Run({"-o", "raw", "-g", "text", "--number", "1", Path()}).output, LogFrame(1));
}

TEST_F(Show, ColoursOnlyWhereItIsWanted) {
    WriteSample();
    const auto isColoured = [&](std::vector<std::string> words) {
        words.push_back(Path());
        return Run(words).output.find('\x1b') != std::string::npos;
    };
    EXPECT_FALSE(isColoured({}));
    EXPECT_TRUE(isColoured({"--color", "always"}));
    EXPECT_TRUE(isColoured({"--color", "always", "-o", "long"}));
    EXPECT_FALSE(isColoured({"--color", "always", "-o", "json"}));
}

// script(1) gives the program a terminal.
TEST_F(Show, UsesAPagerAndColoursOnATerminal) {
    WriteSample();
    const std::string directory = QuoteForShell(Path());
    const auto onTerminal = [&](const std::string& options, const std::string& setting) {
        return RunProgram(
                   OnTerminal(QuoteForShell(QVLOG) + " -c -l 0 " + directory + " >/dev/null; " +
                              QuoteForShell(QVLOG) + " -l 0 " + options + " " + directory),
                   {{"PAGER", "sed s/^/paged:/"}, {"TERM", "xterm"}, {"NO_COLOR", setting}})
            .output;
    };
    const std::string paged = onTerminal("", "");
    EXPECT_EQ(paged.substr(0, 6), "paged:");
    EXPECT_NE(paged.find('\x1b'), std::string::npos);
    EXPECT_EQ(onTerminal("", "1").find('\x1b'), std::string::npos);
    EXPECT_EQ(onTerminal("--no-pager", "").find("paged:"), std::string::npos);
}

TEST_F(Show, RefusesWhatIsNoFileAndNoNumber) {
    ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0600), 0);
    const ProgramResult pipe = Run({Path("pipe")});
    EXPECT_EQ(pipe.exitCode, 2);
    EXPECT_EQ(pipe.errors, "qvlog: " + Path("pipe") +
                               ": it is a pipe or a device; write it into a file first\n");
    WriteSample();
    for (const char* option : {"-n", "-A", "-B", "-C"}) {
        const ProgramResult result = Run({option, "-1", Path(LogName("oper", 1))});
        EXPECT_EQ(result.exitCode, 2) << option;
        EXPECT_NE(result.errors.find("'-1' is less than 0"), std::string::npos) << result.errors;
    }
}

// As when Control-C is pressed in the pager. A shell that goes on takes the terminal away from it.
TEST_F(Show, EndsBehindItsPagerWhenItIsInterrupted) {
    WriteSample();
    const std::string command =
        QuoteForShell(QVLOG) + " " + QuoteForShell(Path()) + "; echo then $?";
    EXPECT_EQ(RunProgram(OnTerminal(command),
                         {{"PAGER", "kill -INT $PPID; cat >/dev/null; sleep 0.1; echo pager"},
                          {"TERM", "xterm"}})
                  .output,
              "pager\r\nthen 130\r\n");
}

TEST_F(Show, GivesItsPagerASignalThatTellsOfAClosedPipe) {
    WriteSample();
    EXPECT_EQ(RunProgram(OnTerminal(QuoteForShell(QVLOG) + " " + QuoteForShell(Path())),
                         {{"PAGER", "sh -c 'kill -PIPE $$; echo ignored'"}, {"TERM", "xterm"}})
                  .output,
              "");
}

TEST_F(Show, StopsQuietlyWhenNobodyReads) {
    std::string text;
    for (uint32_t i = 1; i < 3000; ++i) {
        text += LogFrame(i);
    }
    WriteFile(Path(LogName("oper")), text);
    const ProgramResult result = RunProgram(
        {"sh", "-c", QuoteForShell(QVLOG) + " " + QuoteForShell(Path()) + " | head -n 1 | wc -l"});
    EXPECT_EQ(result.output, "1\n");
    EXPECT_EQ(result.errors, "");
}

// A pipe whose reader has gone for sure.
TEST_F(Show, NeedsNoReaderForRecordsButOneForAResult) {
    WriteSample();
    const auto exitCode = [&](const std::string& words) {
        return RunProgram({"sh", "-c",
                           "exec 3<>\"$2\" 4>\"$2\" 3<&-; \"$0\" " + words + " \"$1\" >&4; echo $?",
                           QVLOG, Path(), Path("pipe")})
            .output;
    };
    ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(exitCode(""), "0\n");
    for (const char* words : {"-c", "stats", "verify"}) {
        EXPECT_EQ(exitCode(words), "2\n") << words;
    }
}

TEST_F(Show, OfAStoreGoesWithNoFilesAndOfFilesWithNoHost) {
    const std::string nowhere = "postgresql://nobody@127.0.0.1:1/qv";
    WriteSample();
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"--store", nowhere, Path()},
          {"--store", nowhere},
          {"-f", "--store", nowhere, "--end-with-agent"},
          {"--host", "mgr7", Path()},
          {"verify", "--send-again", Path()}}) {
        const ProgramResult result = Run(words);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors.rfind("qvlog: ", 0), 0U) << result.errors;
    }
}

}  // namespace
