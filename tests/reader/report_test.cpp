// The page of a report, in a browser, and the database of an export.
#include <gmock/gmock.h>
#include <sqlite3.h>

#include <filesystem>

#include "reader/programfixture.h"
#include "support/tracing.h"

namespace {

using namespace NS_TEST;
using testing::HasSubstr;
using testing::Not;

#ifdef QV_SANITIZED
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

class Report : public ReaderProgram {
  protected:
    // The page after the script has run in a browser.
    std::string Browse(const std::string& script) {
        std::string page = ReadFile(Path("page.html"));
        page.insert(page.rfind("</body>"), "<script>" + script + "</script>");
        WriteFile(Path("test.html"), page);
        return RunProgram(
                   {"chromium", "--headless=new", "--no-sandbox", "--disable-gpu",
                    "--disable-dev-shm-usage", "--no-first-run", "--disable-extensions",
                    "--user-data-dir=" + Path("profile"), "--window-size=1200,900",
                    "--virtual-time-budget=5000", "--dump-dom", "file://" + Path("test.html")},
                   {{"HOME", Path()}})
            .output;
    }

    // Why the page is not looked at; empty: it is. What a browser makes of it is no work of the
    // program, and takes a sanitizer's build a twelfth of all its tests' time.
    static std::string WhyNoBrowser() {
        if (kIsSanitized) {
            return "the other build's tests look at the page";
        }
        const bool hasBrowser = RunProgram({"sh", "-c", "command -v chromium"}).exitCode == 0;
        return hasBrowser ? "" : "chromium is not installed";
    }
};

TEST_F(Report, CannotBeLedAstrayByWhatRecordsSay) {
    WriteFile(Path(LogName("oper", 1)),
              LogFrame(1, Fields(1, "</script><script>alert(1)</script>\xff", 0, "<b>op</b>")));
    EXPECT_EQ(Run({"report", "--html", Path("page.html"), Path()}).exitCode, 0);
    const std::string page = ReadFile(Path("page.html"));
    EXPECT_EQ(page.find("alert(1)</script>"), std::string::npos);
    EXPECT_EQ(page.find("<b>op"), std::string::npos);
    EXPECT_THAT(page,
                HasSubstr("\\u003c/script>\\u003cscript>alert(1)\\u003c/script>\xEF\xBF\xBD"));
    EXPECT_EQ(page.find("http://"), std::string::npos);
    EXPECT_EQ(page.find("https://"), std::string::npos);
}

TEST_F(Report, HoldsNoMessagesWhenTheStandardErrorIsClosed) {
    WriteFile(Path(LogName("oper")), LogFrame(1).substr(0, 50) + LogFrame(2));
    RunProgram({"sh", "-c", R"(exec "$0" report --html "$1" "$2" 2>&-)", QVLOG, Path("page.html"),
                Path(LogName("oper"))});
    const std::string page = ReadFile(Path("page.html"));
    EXPECT_THAT(page, HasSubstr("</html>"));
    EXPECT_EQ(page.find("qvlog: "), std::string::npos);
}

// The agent may open a file again at the moment in which it is asked whether anybody writes it.
TEST_F(Report, IsNotEndedByTheSignalOfABrokenLease) {
    if (!MayTrace()) {
        GTEST_SKIP() << kNoTrace;
    }
    WriteFile(Path(LogName("oper")), CreatedText() + LogFrame(1));
    const ProgramResult traced =
        RunProgram({"strace", "-qq", "-o", Path("trace.txt"), "-e", "trace=fcntl", "-e",
                    "inject=fcntl:signal=SIGIO", QVLOG, "report", "--html", Path("page.html"),
                    Path(LogName("oper"))},
                   {{"ASAN_OPTIONS", "detect_leaks=0"}});
    EXPECT_EQ(traced.exitCode, 0) << traced.errors;
    EXPECT_THAT(ReadFile(Path("trace.txt")), HasSubstr("F_SETLEASE"));
    EXPECT_THAT(ReadFile(Path("page.html")), HasSubstr("</html>"));
}

TEST_F(Report, NamesWhatWasSelected) {
    WriteSample();
    EXPECT_EQ(Run({"report", "--html", Path("page.html"), "--category", "debug", "--process", "7",
                   "-l", "2", "-v", "-g", "text", Path()})
                  .exitCode,
              1);
    EXPECT_THAT(
        ReadFile(Path("page.html")),
        HasSubstr("\"selection\":\"category debug; process 7; level 2; not pattern text\""));
}

TEST_F(Report, WorksByKeyboardInABrowser) {
    WriteSample();
    EXPECT_EQ(Run({"report", "--html", Path("page.html"), Path()}).exitCode, 0);
    if (const std::string reason = WhyNoBrowser(); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    const std::string seen = Browse(R"(
        const press = key => document.body.dispatchEvent(new KeyboardEvent('keydown', {key, bubbles: true}));
        const seen = [document.getElementById('count').textContent];
        press('e'); seen.push(document.getElementById('detail').textContent);
        press('ArrowDown'); seen.push(document.querySelector('.row.chosen').textContent);
        press('+'); seen.push(document.getElementById('count').textContent);
        press('0'); seen.push(document.getElementById('count').textContent);
        search('op-2'); seen.push(document.getElementById('count').textContent);
        document.body.replaceChildren(seen.join('\n')); )");
    EXPECT_THAT(seen, HasSubstr("6 of 6\n"));
    EXPECT_THAT(
        seen,
        HasSubstr("History that the dump brought along: 12026-03-05 14:00:11.000 L3 asks NE-7"));
    EXPECT_THAT(seen, HasSubstr("L3  debug          | asks NE-7\n"));
    EXPECT_THAT(seen, HasSubstr("\n2 of 6\n6 of 6\n2 of 6"));
}

// Any number may stand where a record's level stands.
TEST_F(Report, ShowsRecordsOfOtherLevelsAndWithoutAText) {
    WriteFile(Path(LogName("oper", 1)),
              LogFrame(1, Fields(1, "odd", -7)) + LogFrame(2, Fields(2, "")));
    EXPECT_EQ(Run({"report", "--html", Path("page.html"), Path()}).exitCode, 0);
    if (const std::string reason = WhyNoBrowser(); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    const std::string seen = Browse(R"(
        document.body.replaceChildren(
            [...document.querySelectorAll('.row')].map(row => row.textContent + '<').join('\n')); )");
    EXPECT_THAT(seen, HasSubstr("L-7 oper         odd&lt;\n"));
    EXPECT_THAT(seen, HasSubstr("oper         &lt;"));
    EXPECT_THAT(seen, Not(HasSubstr("undefined&lt;")));
}

TEST_F(Report, ShowsAHundredThousandRecords) {
    std::string text;
    for (uint32_t i = 1; i <= 100002; ++i) {
        text += LogFrame(i, Fields(static_cast<int>(i / 100), "x"));
    }
    WriteFile(Path(LogName("oper", 1)), text);
    EXPECT_EQ(Run({"report", "--html", Path("page.html"), Path()}).exitCode, 0);
    if (const std::string reason = WhyNoBrowser(); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    const std::string seen = Browse(
        "document.body.replaceChildren(document.documentElement.dataset.ready + ' ' + "
        "document.getElementById('left-out').textContent)");
    EXPECT_THAT(seen, HasSubstr("100000 2 older records are left out"));
}

class Export : public ReaderProgram {};

TEST_F(Export, MakesATableOfAllFields) {
    WriteSample();
    EXPECT_EQ(Run({"export", "--to", "sqlite", Path("out.db"), Path()}).exitCode, 0);
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(Path("out.db").c_str(), &database), SQLITE_OK);
    std::string rows;
    const auto take = [](void* to, int count, char** values, char**) {
        for (int i = 0; i < count; ++i) {
            *static_cast<std::string*>(to) +=
                std::string(values[i] == nullptr ? "NULL" : values[i]) + "|";
        }
        return 0;
    };
    const char* const query =
        "SELECT level, kind, number, dump, operation, detail, utc_us FROM records "
        "WHERE category = 'debug' ORDER BY rowid";
    EXPECT_EQ(sqlite3_exec(database, query, take, &rows, nullptr), SQLITE_OK);
    sqlite3_close(database);
    EXPECT_EQ(rows,
              "-2|short|NULL|NULL|NULL|tick|1772715615000000|"
              "0|dump|2|NULL|op-1|NE-7 does not answer|1772715630000000|"
              "3|dumped|NULL|2|op-1|asks NE-7|1772715611000000|");
    EXPECT_EQ(Run({"export", "--to", "sqlite", Path("out.db"), Path()}).exitCode, 2);
    EXPECT_EQ(Run({"export", "--to", "oracle", Path("new.db"), Path()}).exitCode, 2);
}

// One that fails or is interrupted leaves nothing that could be taken for a database.
TEST_F(Export, HasItsNameWhenItIsComplete) {
    if (!MayTrace()) {
        GTEST_SKIP() << kNoTrace;
    }
    WriteSample();
    std::filesystem::create_directory(Path("out"));
    for (const std::string fault : {"error=EIO", "error=EIO:signal=SIGTERM"}) {
        const ProgramResult failed = RunProgram(
            {"strace", "-qq", "-o", "/dev/null", "-e", "trace=rename,renameat,renameat2", "-e",
             "inject=rename,renameat,renameat2:" + fault, "env", "--default-signal", QVLOG,
             "export", "--to", "sqlite", Path("out/out.db"), Path()},
            {{"ASAN_OPTIONS", "detect_leaks=0"}});
        EXPECT_NE(failed.exitCode, 0);
        EXPECT_TRUE(std::filesystem::is_empty(Path("out"))) << fault;
    }
    EXPECT_EQ(Run({"export", "--to", "sqlite", Path("out/out.db"), Path()}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::exists(Path("out/out.db")));
}

TEST_F(Export, LeavesALinkAsItIs) {
    WriteSample();
    std::filesystem::create_symlink(Path("none.db"), Path("out.db"));
    const ProgramResult result = Run({"export", "--to", "sqlite", Path("out.db"), Path()});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.errors, "qvlog: " + Path("out.db") + " is there already\n");
    EXPECT_TRUE(std::filesystem::is_symlink(Path("out.db")));
}

// Another export may write it, or it is somebody's.
TEST_F(Export, TouchesNoOtherFile) {
    WriteSample();
    WriteFile(Path("out.db.unfinished"), "somebody's");
    EXPECT_EQ(Run({"export", "--to", "sqlite", Path("out.db"), Path()}).exitCode, 0);
    EXPECT_EQ(ReadFile(Path("out.db.unfinished")), "somebody's");
    EXPECT_EQ(Run({"export", "--to", "sqlite", Path("none/out.db"), Path()}).exitCode, 2);
}

}  // namespace
