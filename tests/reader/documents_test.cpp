// Options, manual page, completions and guide tell the same.
#include <gmock/gmock.h>

#include <regex>
#include <set>
#include <sstream>

#include "output/field.h"
#include "query/pattern.h"
#include "reader/programfixture.h"

namespace {

using namespace NS_TEST;
using testing::AnyOf;
using testing::HasSubstr;

const std::vector<std::string> kCommands = {
    "verify", "stats",   "report", "prune", "export",
#ifdef QV_HAS_FLEET
    "ship",   "collect",
#endif
};

class Documents : public ReaderProgram {
  protected:
    // "-x" and "--name" of the help texts of the program and its commands.
    static std::set<std::string> Options(const std::string& command = "") {
        std::vector<std::string> words = {"--help"};
        if (!command.empty()) {
            words.insert(words.begin(), command);
        }
        std::istringstream help(Run(words).output);
        std::set<std::string> options;
        for (std::string line; std::getline(help, line);) {
            if (line.rfind("  -", 0) != 0) {
                continue;
            }
            std::istringstream names(line.substr(2, line.find(' ', 2) - 2));
            for (std::string name; std::getline(names, name, ',');) {
                options.insert(name);
            }
        }
        return options;
    }

    static std::string Source(const std::string& name) {
        return ReadFile(std::string(QV_READER) + "/" + name);
    }
};

TEST_F(Documents, ManualAndCompletionsKnowEveryOption) {
    std::string manual = Source("qvlog.1");
    for (size_t escape = manual.find("\\-"); escape != std::string::npos;
         escape = manual.find("\\-", escape)) {
        manual.erase(escape, 1);
    }
    const std::string bash = Source("completion/qvlog");
    const std::string zsh = Source("completion/_qvlog");
    const std::string fish = Source("completion/qvlog.fish");
    std::vector<std::string> commands = kCommands;
    commands.emplace_back();
    if (Run({"fleet", "--help"}).exitCode == 0) {
        commands.emplace_back("fleet");
    }
    for (const std::string& command : commands) {
        const std::set<std::string> options = Options(command);
        EXPECT_GE(options.size(), 3U) << command;
        for (const std::string& option : options) {
            const NS_LOG_READER::Pattern word("(?-i)(^|[^a-z-])" + option + "($|[^a-z-])", false);
            EXPECT_TRUE(word.Matches(manual)) << option;
            EXPECT_TRUE(word.Matches(bash)) << option;
            EXPECT_TRUE(word.Matches(zsh)) << option;
            const bool isLong = option[1] == '-';
            EXPECT_THAT(fish, HasSubstr(isLong ? "-l " + option.substr(2) + " "
                                               : "-s " + option.substr(1)));
        }
        if (!command.empty()) {
            EXPECT_THAT(manual, HasSubstr(".SS " + command + "\n"));
            EXPECT_THAT(fish, HasSubstr("-a " + command + " "));
        }
    }
}

TEST_F(Documents, ProgramSaysItsVersionItsCommitAndItsBuildKind) {
    EXPECT_THAT(Run({"--version"}).output,
                testing::MatchesRegex("qvlog [0-9.]+ \\(commit [0-9a-z-]+, [^()]+\\)\n"));
}

TEST_F(Documents, FormatPageNamesEachFieldAndCategory) {
    const std::string page = Source("qvlog.5");
    for (const NS_LOG_READER::Field& field : NS_LOG_READER::AllFields()) {
        const std::string name = field.name;
        EXPECT_THAT(page, AnyOf(HasSubstr("\n" + name + ": "), HasSubstr("\n.B " + name + "\n")));
    }
    for (const std::string category : {"debug", "corbadebug", "corbanotify", "corba_alarm",
                                       "corbasys", "corbaoper", "corba_internal_oper"}) {
        EXPECT_THAT(page, AnyOf(HasSubstr("\n.B " + category + "\n"),
                                HasSubstr("\n.BR " + category + " ")));
    }
}

// The page's examples are read as what the page says that they are.
TEST_F(Documents, FormatPageShowsWhatTheReaderReads) {
    std::istringstream page(Source("qvlog.5"));
    std::string contents = CreatedText(1);
    bool isExample = false;
    for (std::string line; std::getline(page, line);) {
        if (line == ".nf") {
            isExample = true;
        } else if (line == ".fi") {
            isExample = false;
        } else if (isExample && line.find("\\f") == std::string::npos) {
            contents += std::regex_replace(line, std::regex("\\\\-"), "-") + "\n";
        }
    }
    WriteFile(Path(LogName("oper", 1)), contents + ClosedText());
    const ProgramResult result = Run({"--fields", "kind,number,dump,operation,detail", Path()});
    EXPECT_EQ(result.output,
              "record 17 - 5f0c 12 network elements\n"
              "short - - - link is up\n"
              "dump 18 - 5f0c the query failed\n"
              "dumped - 18 5f0c sent 214 bytes\n");
    EXPECT_EQ(result.errors, "");
}

TEST_F(Documents, CompletionsOfferWhatFits) {
    // Names of files in the working directory would be offered as well.
    const auto complete = [this](const std::string& words) {
        return RunProgram({"bash", "-c",
                           "cd \"$1\" && source \"$0\" && COMP_WORDS=(qvlog " + words +
                               ") && COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) && _qvlog && echo "
                               "\"${COMPREPLY[@]}\"",
                           std::string(QV_READER) + "/completion/qvlog", Path()})
            .output;
    };
    EXPECT_EQ(complete("ver"), "verify\n");
    EXPECT_EQ(complete("--sto"), "--store --story\n");
    EXPECT_EQ(complete("prune --"),
              "--help --keep --max-bytes --older-than --dry-run --shipped --to --store --host --ca "
              "--cert --key --shards\n");
    EXPECT_EQ(complete("stats --top 3 --sin"), "--since\n");
    EXPECT_EQ(complete("-o ''"), "raw short long json csv\n");
    EXPECT_EQ(complete("--category = corba_"), "corba_alarm corba_internal_oper\n");
    for (const char* check : {"zsh -n completion/_qvlog", "fish -n completion/qvlog.fish"}) {
        const std::string shell = std::string(check).substr(0, std::string(check).find(' '));
        const ProgramResult result = RunProgram(
            {"sh", "-c", "command -v " + shell + " >/dev/null || exit 0; cd \"$0\" && " + check,
             QV_READER});
        EXPECT_EQ(result.exitCode, 0) << result.errors;
    }
}

// Each "$ command" of the guide's blocks, with what it prints.
TEST_F(Documents, CommandsOfTheGuidePrintWhatItSays) {
    std::istringstream guide(ReadFile(QV_GUIDE));
    std::vector<std::pair<std::string, std::string>> commands;
    bool isInside = false;
    for (std::string line; std::getline(guide, line);) {
        if (line.rfind("```", 0) == 0) {
            isInside = line == "```console";
        } else if (isInside && line.rfind("$ ", 0) == 0) {
            commands.emplace_back(line.substr(2), "");
        } else if (isInside) {
            commands.back().second += line + "\n";
        }
    }
    EXPECT_GE(commands.size(), 11U);
    for (const auto& [command, output] : commands) {
        const std::string directory = std::string(QVLOG).substr(0, std::string(QVLOG).rfind('/'));
        const std::string missing =
            "for word in jq sqlite3; do case $0 in *$word*) command -v $word >/dev/null || exit 0 "
            ";; "
            "esac; done; exit 1";
        if (RunProgram({"sh", "-c", missing, command}).exitCode == 0) {
            continue;
        }
        const ProgramResult result = RunProgram(
            {"bash", "-c", "cd " + QuoteForShell(Path()) + " && PATH=$0:$PATH && " + command,
             directory},
            {{"_APP_SHARE_DIR", QV_GUIDE_SHARE}, {"TZ", "CET-1"}, {"LC_ALL", "C"}});
        EXPECT_EQ(result.output, output) << command;
        EXPECT_EQ(result.errors, "") << command;
    }
}

TEST_F(Documents, LnavUnderstandsTheFiles) {
    if (RunProgram({"sh", "-c", "command -v lnav"}).exitCode != 0) {
        GTEST_SKIP() << "lnav is not installed";
    }
    WriteFile(Path(".config/lnav/formats/installed/qv_log.json"), Source("lnav/qv_log.json"));
    const std::map<std::string, std::string> variables = {{"HOME", Path()}, {"TERM", "dumb"}};
    const ProgramResult check = RunProgram({"lnav", "-C"}, variables);
    EXPECT_EQ(check.exitCode, 0) << check.errors;
    const ProgramResult result = RunProgram(
        {"sh", "-c",
         "lnav -n -c \";SELECT log_level, interface, user, count(*) AS n FROM qv_log WHERE "
         "log_opid "
         "LIKE '%b2' GROUP BY 1, 2, 3 ORDER BY 1\" -c ':write-csv-to -' \"$0\"/log/*",
         QV_GUIDE_SHARE},
        variables);
    EXPECT_EQ(result.output,
              "log_level,interface,user,n\ntrace,createTransferSchedule,opr2@192.0.2.9,3\n"
              "debug,createTransferSchedule,opr2@192.0.2.9,3\n"
              "info,createTransferSchedule,opr2@192.0.2.9,3\n"
              "critical,createTransferSchedule,opr2@192.0.2.9,1\n");
}

}  // namespace
