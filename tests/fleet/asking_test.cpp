// A store answers as the files do that were sent to it.
#include <algorithm>
#include <sstream>

#include "fleet/fleetfixture.h"
#include "reader/logtext.h"
#include "store/recordstore.h"

namespace {

using namespace NS_TEST;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

// No process has such a number.
constexpr int kNoProcess = 4194304;

class Asking : public FleetTest {
  protected:
    ChildResult Ship(const std::string& host, const std::string& directory) const {
        return RunProgram(ChildStart{{QVLOG, "ship", "--once", "--host", host, "--to",
                                      const_cast<Asking*>(this)->Postgres().Url(), directory}});
    }

    ChildResult Ask(std::vector<std::string> words) {
        words.insert(words.begin(), QVLOG);
        words.insert(words.end(), {"--store", Postgres().Url()});
        return RunProgram(ChildStart{words});
    }

    static std::string Frame(uint32_t number, const std::string& detail) {
        LogFields fields;
        fields.detail = detail;
        return LogFrame(number, fields);
    }

    // By the shell, in the directory of the files.
    ChildResult RunThere(const std::string& command) {
        return RunProgram(
            ChildStart{{"bash", "-c", "cd \"$0\" && " + command, Logs()},
                       {{"QV_STORE", Postgres().Url()},
                        {"PATH", std::string(QVLOG).substr(0, std::string(QVLOG).rfind('/')) + ":" +
                                     std::getenv("PATH")},
                        {"TZ", "CET-1"},
                        {"LC_ALL", "C"}}});
    }

    static size_t CountOf(const std::string& text, const std::string& part) {
        size_t count = 0;
        for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
            ++count;
        }
        return count;
    }

    // Everything that is hard to find, to quote, or to cut.
    void WriteStrangeFiles() const {
        std::string text = CreatedText();
        uint32_t number = 0;
        const auto add = [&](LogFields fields) {
            ++number;
            fields.second = static_cast<int>(number);
            text += LogFrame(number, fields);
        };
        const std::string longest(1500, 'u');
        for (const std::string& value :
             {std::string("50%"), std::string("a_b\\c"), std::string("'; DROP TABLE qv.record; --"),
              std::string("\xff\xfe\xc3"), std::string("\xc3\xa9t\xc3\xa9"), longest + "1",
              longest + "2", std::string("two\nlines, T:1, DL:0, File: f"), std::string("$1 ?")}) {
            LogFields fields;
            fields.user = value;
            fields.operation = value.substr(0, value.find('\n'));
            fields.detail = "detail of " + value;
            add(fields);
        }
        LogFields large;
        large.detail = std::string(300000, 'x') + " the end";
        add(large);
        LogFields error;
        error.level = 0;
        error.operation = "op-9";
        text += ShortText(20, " a short one") + "that goes on\n";
        number += 2;
        text += LogDump(number, error, DumpedText({}) + DumpedText(large) + DumpedText({}));
        text += "what belongs to nothing\n\n";
        add({});
        text += LogFrame(number + 1, error).substr(0, 150);
        WriteFile(Logs() + "/" + LogName("debug", 1, kNoProcess), text);
        WriteFile(Logs() + "/" + LogName("corbaoper", 2, kNoProcess),
                  CreatedText(2) + LogFrame(1, error) + ShortText(3, "s") + ClosedText());
    }

    // The options on the files, and on the store.
    void ExpectSameAnswer(const std::string& options) {
        SCOPED_TRACE(options);
        const ChildResult files = RunThere("qvlog " + options + " *.log");
        const ChildResult store = RunThere("qvlog --store \"$QV_STORE\" " + options);
        EXPECT_NE(files.exitCode, 2) << files.errors;
        EXPECT_EQ(store.exitCode, files.exitCode) << store.errors;
        EXPECT_TRUE(store.output == files.output)
            << store.output.substr(0, 2000) << "\nwhere the files have\n"
            << files.output.substr(0, 2000);
    }
};

constexpr const char* kFileFields =
    " --fields time,level,category,process,kind,number,dump,operation,top_thread,interface,user,"
    "thread,file,line,function,detail,log,offset";

// Options of qvlog that both are asked with.
constexpr const char* kQuestions[] = {
    "-n 7",
    "-n 7 -r",
    "-n 20000",
    "-n 3 -C 1",
    "-l 0",
    "-l 0 -C 2",
    "-l 0 -B 1 -A 3 -r -n 5",
    "-l 0 --story",
    "--operation op-9 --story -o raw",
    "-l short",
    "-l 1..2 -c",
    "-l asn",
    "-l 0,3 -c",
    "--operation '*9'",
    "--operation 'op-*' -c",
    "--operation nothing",
    "--interface getNE -c",
    "--interface 'get*' -r -n 3",
    "--user '*@192.0.2.3' -c",
    "--user '50%'",
    "--user 'a_b\\c'",
    "--user '*DROP*'",
    "--user \"'; DROP TABLE qv.record; --\"",
    "--user $'\\xff\\xfe\\xc3'",
    "--user $'*\\xc3'",
    "--user $'\\xc3\\xa9t\\xc3\\xa9' -o raw",
    "--user '$1 ?'",
    "--user 'uuu*1' -c",
    "--user 'uuu*' -c",
    "--user opr1 -c",
    "--user \"$(printf %01500d 0 | tr 0 u)1\" -c",
    "--user $'two\\nlines, T:1, DL:0, File: f'",
    "--function Begin -n 2",
    "--function Query --user opr1 -c",
    "--source operation.cpp:94 -c",
    "--source ne.cpp",
    "--source 'n*.cpp:88' -c",
    "--number 3..7 -c",
    "--number 11..",
    "--thread -7 -c",
    "--thread 1 --thread -7 -c",
    "-g 'the end' -c",
    "-g NE-10 -c",
    "-g ne-10 -n 5",
    "-g 'NE-[0-9]+ does' -v -c",
    "-g 'no such text at all'",
    "-g '50%' -F",
    "-g 'a_b' -c",
    "-g 'c' -F --user 'a_b*'",
    "-g 'rights' -C 1 -n 3",
    "--since 2020-01-01 -c",
    "--since 2020-01-01 --until 2021-01-01",
    "--unsorted --since "
    "2026-03-05T14:00:05+01:00 --until 2026-03-05T14:00:09.5+01:00 -o raw",
    "--category 'corba*' -c",
    "--category debug --process 4194304",
    "--process 1",
    "stats",
    "stats --json -l 0"};

TEST_F(Asking, PrintsByteForByteWhatTheFilesPrint) {
    WriteStrangeFiles();
    RunAgent(40);
    ASSERT_EQ(Ship("host1", Logs()).exitCode, 0);
    for (const char* output : {"raw", "short", "json", "csv", "long"}) {
        const std::string fields = output[0] == 'r' || output[0] == 's' ? "" : kFileFields;
        ExpectSameAnswer("-o " + std::string(output) + fields);
        ExpectSameAnswer("--reverse -o " + std::string(output) + fields);
    }
    for (const char* options : kQuestions) {
        ExpectSameAnswer(options);
    }
}

TEST_F(Asking, KnowsTheHosts) {
    WriteStrangeFiles();
    ASSERT_EQ(Ship("mgr1", Logs()).exitCode, 0);
    ASSERT_EQ(Ship("mgr2", Logs()).exitCode, 0);
    const std::string one = RunThere("qvlog -c *.log").output;
    EXPECT_EQ(std::stoi(Ask({"-c"}).output), 2 * std::stoi(one));
    EXPECT_EQ(Ask({"-c", "--host", "mgr2"}).output, one);
    EXPECT_EQ(Ask({"-c", "--host", "mgr*"}).output, std::to_string(2 * std::stoi(one)) + "\n");
    EXPECT_EQ(Ask({"--host", "mgr3"}).exitCode, 1);
    const ChildResult story = Ask({"--host", "mgr1", "-l", "0", "--operation", "op-9", "--story",
                                   "--fields", "host,category"});
    EXPECT_THAT(SplitText(story.output),
                UnorderedElementsAre("mgr1 debug", "mgr1 debug", "mgr1 corbaoper", "mgr2 debug",
                                     "mgr2 debug", "mgr2 corbaoper"));
    EXPECT_THAT(Ask({"-o", "json", "-n", "1"}).output, HasSubstr(",\"host\":\"mgr2\"}"));
    EXPECT_THAT(Ask({"-o", "csv"}).output, HasSubstr(",offset,host\r\n"));

    const ChildResult view = Ask({"fleet"});
    EXPECT_EQ(view.exitCode, 0) << view.errors;
    EXPECT_THAT(view.output, ::testing::ContainsRegex("mgr1  .*\nmgr2  "));
    EXPECT_THAT(
        Ask({"fleet", "--json"}).output,
        HasSubstr(
            "\"files\":2,\"stored\":" +
            std::to_string(ReadFile(Logs() + "/" + LogName("debug", 1, kNoProcess)).size() +
                           ReadFile(Logs() + "/" + LogName("corbaoper", 2, kNoProcess)).size())));
    ASSERT_EQ(Ask({"report", "--html", Path("page.html"), "--host", "mgr1"}).exitCode, 0);
    EXPECT_THAT(ReadFile(Path("page.html")), HasSubstr("\"detail of 50%\""));
}

TEST_F(Asking, FindsWhatIsMissingAndHasItSentAgain) {
    RunAgent(20);
    ASSERT_EQ(ShipAll().exitCode, 0);
    const ChildResult whole = Ask({"verify"});
    EXPECT_EQ(whole.exitCode, 0) << whole.output;
    EXPECT_THAT(whole.output, Not(HasSubstr("NOT WHOLE")));
    Number(
        "WITH gone AS (DELETE FROM qv.record r USING qv.file f WHERE f.id = r.file"
        " AND f.category = 'corbaoper' AND r.number = 5 RETURNING 1) SELECT count(*) FROM gone");
    const ChildResult broken = Ask({"verify", "--host", "host1", "--send-again"});
    EXPECT_EQ(broken.exitCode, 1);
    EXPECT_THAT(broken.output, HasSubstr(": record 5 is missing\n"));
    // Threads that log at once may reach the file in another order than that of their times.
    EXPECT_THAT(broken.output,
                ::testing::ContainsRegex("1 missing, 0 torn, [0-9]+ out of order: NOT WHOLE\n"));
    EXPECT_EQ(Number("SELECT count(*) FROM qv.file WHERE again IS NOT NULL"), 1);
    ASSERT_EQ(ShipAll().exitCode, 0);
    EXPECT_EQ(Ask({"verify"}).exitCode, 0);
    const ChildResult nobody = Ask({"verify", "--host", "nobody"});
    EXPECT_EQ(nobody.exitCode, 1);
    EXPECT_EQ(nobody.errors, "qvlog: no log files\n");
}

TEST_F(Asking, FollowsWhatIsStored) {
    const std::string file = Logs() + "/" + LogName("corbaoper", 1, kNoProcess);
    WriteFile(file, CreatedText() + Frame(1, "one") + Frame(2, "two") + Frame(3, "three"));
    ASSERT_EQ(ShipAll().exitCode, 0);
    ChildProcess program(ChildStart{
        {QVLOG, "-f", "-n", "1", "--fields", "host,detail", "--store", Postgres().Url()}});
    ASSERT_TRUE(program.WaitForOutput("host1 three\n"));
    WriteFile(file, ReadFile(file) + Frame(4, "four"));
    WriteFile(Logs() + "/" + LogName("debug", 2, kNoProcess), CreatedText(2) + Frame(1, "other"));
    ASSERT_EQ(ShipAll().exitCode, 0);
    ASSERT_TRUE(program.WaitForOutput("host1 four\n"));
    ASSERT_TRUE(program.WaitForOutput("host1 other\n"));
    program.Signal(SIGTERM);
    EXPECT_THAT(program.Wait().output, Not(HasSubstr("two")));
}

TEST_F(Asking, GoesOnFollowingWhenTheStoreIsBack) {
    const std::string file = Logs() + "/" + LogName("corbaoper", 1, kNoProcess);
    WriteFile(file, CreatedText() + Frame(1, "one"));
    ASSERT_EQ(ShipAll().exitCode, 0);
    ChildProcess program(
        ChildStart{{QVLOG, "-f", "--fields", "host,detail", "--store", Postgres().Url()}});
    ASSERT_TRUE(program.WaitForOutput("host1 one\n"));
    for (const auto& [number, detail] : {std::pair(2U, "two"), std::pair(3U, "three")}) {
        Postgres().Kill();
        ASSERT_TRUE(program.WaitForError("qvlog: the store: ", static_cast<int>(number) - 1));
        Postgres().Start();
        WriteFile(file, ReadFile(file) + Frame(number, detail));
        ASSERT_EQ(ShipAll().exitCode, 0);
        ASSERT_TRUE(program.WaitForOutput("host1 " + std::string(detail) + "\n"));
    }
    program.Signal(SIGTERM);
    const ChildResult result = program.Wait();
    EXPECT_EQ(result.output, "host1 one\nhost1 two\nhost1 three\n");
    EXPECT_THAT(result.errors, HasSubstr("qvlog: the store is back\n"));
}

// A record that was left out stays a gap. What stands in it all the same is shown late.
TEST_F(Asking, FollowsWhatIsStoredBehindAGapThatLasts) {
    const std::string path = Logs() + "/" + LogName("corbaoper", 1, kNoProcess);
    WriteFile(path, CreatedText() + Frame(1, "one"));
    ASSERT_EQ(ShipAll().exitCode, 0);
    ChildProcess program(
        ChildStart{{QVLOG, "-f", "--fields", "host,detail", "--store", Postgres().Url()}});
    ASSERT_TRUE(program.WaitForOutput("host1 one\n"));
    NS_LOG_FLEET::RecordStore store(Postgres().Url());
    NS_LOG_FLEET::RowFile file;
    file.id = Number("SELECT id FROM qv.file");
    file.day = NS_LOG_FLEET::DayOfName(LogName("corbaoper", 1, kNoProcess));
    uint64_t end = ReadFile(path).size();
    const auto add = [&](uint64_t offset, uint32_t number, const char* detail) {
        NS_LOG_FLEET::FilePart part;
        part.offset = offset;
        part.bytes = Frame(number, detail);
        part.slices = {
            {NS_LOG_READER::PieceKind::Frame, number, static_cast<uint32_t>(part.bytes.size())}};
        store.Store({{file, &part}});
        return part.End();
    };
    const uint64_t behind = add(end + Frame(2, "two").size(), 3, "three");
    ASSERT_TRUE(program.WaitForOutput("host1 three\n"));
    add(behind, 4, "four");
    ASSERT_TRUE(program.WaitForOutput("host1 four\n"));
    add(end, 2, "two");
    ASSERT_TRUE(program.WaitForOutput("host1 two\n"));
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Wait().output, "host1 one\nhost1 three\nhost1 four\nhost1 two\n");
}

// The files of two hosts may have one name, and be damaged at one place.
TEST_F(Asking, TellsTheProblemsOfEachHost) {
    WriteFile(Logs() + "/" + LogName("debug", 1, kNoProcess),
              CreatedText() + "what belongs to nothing\n\n" + LogFrame(1));
    ASSERT_EQ(Ship("mgr1", Logs()).exitCode, 0);
    ASSERT_EQ(Ship("mgr2", Logs()).exitCode, 0);
    const std::string errors = Ask({}).errors;
    for (const char* const host : {"mgr1", "mgr2"}) {
        EXPECT_THAT(errors, HasSubstr("qvlog: " + std::string(host) + ": " +
                                      LogName("debug", 1, kNoProcess) + ": at byte "));
    }
}

TEST_F(Asking, CallsAFileOfWhichAllDaysWereRemovedNoMistake) {
    WriteFile(Logs() + "/" + LogName("debug", 1, kNoProcess),
              CreatedText() + LogFrame(1) + ClosedText());
    ASSERT_EQ(ShipAll().exitCode, 0);
    ASSERT_EQ(Number("SELECT qv.drop_days('2026-03-06')"), 1);
    const ChildResult result = Ask({"verify"});
    EXPECT_EQ(result.exitCode, 0) << result.output;
    EXPECT_THAT(result.output, HasSubstr(" bytes are not kept any more\n"));
}

// The day of what stands behind a gap may have been removed as well.
TEST_F(Asking, CallsOnlyTheGapAMistakeWhereDaysWereRemoved) {
    NS_LOG_FLEET::RecordStore store(Postgres().Url());
    NS_LOG_FLEET::RowFile file;
    const std::string name = LogName("debug", 1, kNoProcess);
    file.id = store.FindFile({"host1", name, "first\n"}).id;
    file.day = NS_LOG_FLEET::DayOfName(name);
    const auto add = [&](uint64_t offset, const std::string& text) {
        NS_LOG_FLEET::FilePart part;
        part.offset = offset;
        part.bytes = text;
        part.slices = {{NS_LOG_READER::PieceKind::Short, 0, static_cast<uint32_t>(text.size())}};
        store.Store({{file, &part}});
    };
    const std::string record = ShortText(1, "one");
    const std::string later = "2026-03-06" + record.substr(10);
    add(0, record);
    add(1000, record);
    add(1000 + record.size(), later);
    ASSERT_EQ(Number("SELECT qv.drop_days('2026-03-06')"), 1);
    const ChildResult result = Ask({"verify"});
    EXPECT_EQ(result.exitCode, 1);
    const std::string size = std::to_string(record.size());
    EXPECT_THAT(result.output,
                HasSubstr(" " + std::to_string(1000 - record.size()) + " bytes are not stored\n"));
    EXPECT_EQ(CountOf(result.output, " are not stored"), 1U) << result.output;
    EXPECT_EQ(CountOf(result.output, " " + size + " bytes are not kept any more\n"), 2U)
        << result.output;
}

// Each "$ command" of the guide's blocks, with what it prints.
TEST_F(Asking, CommandsOfTheGuidePrintWhatItSays) {
    ASSERT_EQ(Ship("mgr7", QV_GUIDE_LOGS).exitCode, 0);
    std::istringstream guide(ReadFile(QV_FLEET_GUIDE));
    std::vector<std::pair<std::string, std::string>> commands;
    bool isInside = false;
    for (std::string line; std::getline(guide, line);) {
        if (line.rfind("```", 0) == 0) {
            isInside = line == "```console";
        } else if (isInside && line.rfind("$ ", 0) == 0) {
            commands.emplace_back(line.substr(2), "");
        } else if (isInside && line.rfind("> ", 0) == 0) {
            commands.back().first += "\n" + line.substr(2);
        } else if (isInside) {
            commands.back().second += line + "\n";
        }
    }
    EXPECT_GE(commands.size(), 10U);
    for (const auto& [command, output] : commands) {
        const ChildResult result = RunThere(command);
        EXPECT_EQ(result.output, output) << command;
        EXPECT_EQ(result.errors, "") << command;
    }
}

}  // namespace
