#include <gtest/gtest.h>
#include <unistd.h>

#include "output/recordformat.h"
#include "output/visibletext.h"
#include "query/badrequest.h"
#include "reader/logtext.h"
#include "reader/scanfile.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

namespace {

using namespace NS_LOG_READER;
using namespace NS_TEST;

class Formats : public DirectoryTest {
  protected:
    // All records of the text in the format.
    std::string Print(const std::string& name, const std::string& text,
                      FormatOptions options = {}) {
        LogFileName origin{"x.log", "corbaoper", 4711};
        TextSource source(text);
        PieceScanner scanner(source);
        Piece piece;
        Found found;
        return Capture([&](Output& output) {
            const auto format = MakeFormat(name, options);
            format->Begin(output);
            while (scanner.Next(piece)) {
                found.record.origin = &origin;
                if (!ParseRecord(piece, found.record)) {
                    continue;
                }
                const Record record = found.record;
                format->Write(output, found);
                DumpedRecords dumped(piece, record);
                while (dumped.Next(found.record)) {
                    format->Write(output, found);
                }
            }
        });
    }

    template <class Function>
    std::string Capture(Function write) {
        std::FILE* const file = std::fopen(Path("out").c_str(), "w");
        Output output(::fileno(file));
        write(output);
        output.Flush();
        std::fclose(file);
        return ReadFile(Path("out"));
    }

    static std::string Sample() {
        LogFields error;
        error.level = 0;
        error.detail = "\nfailed \"x\", \\ \x01\x1b\xff \xc3\xbc\nand so on";
        return LogDump(5, error, DumpedText({})) + ShortText(9, "short");
    }
};

TEST_F(Formats, JsonHasAllFieldsOfEachRecordInALine) {
    EXPECT_EQ(
        Print("json", Sample()),
        "{\"v\":1,\"time\":\"2026-03-05T14:00:00.000000+01:00\",\"level\":0,\"category\":"
        "\"corbaoper\",\"process\":4711,\"kind\":\"dump\",\"number\":5,\"dump\":null,"
        "\"operation\":\"op-1\",\"top_thread\":12,\"interface\":\"getNE\",\"user\":\"opr1\","
        "\"thread\":-7,\"file\":\"ne.cpp\",\"line\":88,\"function\":\"Query\",\"detail\":"
        "\"\\nfailed \\\"x\\\", \\\\ \\u0001\\u001b\xEF\xBF\xBD \xc3\xbc\\nand so on\","
        "\"log\":\"x.log\",\"offset\":0}\n"
        "{\"v\":1,\"time\":\"2026-03-05T14:00:00.000000+01:00\",\"level\":2,\"category\":"
        "\"corbaoper\",\"process\":4711,\"kind\":\"dumped\",\"number\":null,\"dump\":5,"
        "\"operation\":\"op-1\",\"top_thread\":12,\"interface\":\"getNE\",\"user\":\"opr1\","
        "\"thread\":-7,\"file\":\"ne.cpp\",\"line\":88,\"function\":\"Query\",\"detail\":\"text\","
        "\"log\":\"x.log\",\"offset\":220}\n"
        "{\"v\":1,\"time\":\"2026-03-05T14:00:09.000000+01:00\",\"level\":-2,\"category\":"
        "\"corbaoper\",\"process\":4711,\"kind\":\"short\",\"number\":null,\"dump\":null,"
        "\"operation\":null,\"top_thread\":null,\"interface\":null,\"user\":null,\"thread\":null,"
        "\"file\":null,\"line\":null,\"function\":null,\"detail\":\"short\",\"log\":\"x.log\","
        "\"offset\":414}\n");
}

TEST_F(Formats, JsonReplacesWhatIsNoUtf8) {
    const struct {
        const char* text;
        const char* json;
    } cases[] = {
        {"", "\"\""},
        {"\xc3\xbc\xe2\x82\xac\xf0\x9f\x98\x80", "\"\xc3\xbc\xe2\x82\xac\xf0\x9f\x98\x80\""},
        {"\xc3", "\"\xEF\xBF\xBD\""},
        {"\xc0\x80", "\"\xEF\xBF\xBD\xEF\xBF\xBD\""},
        {"\xed\xa0\x80", "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\""},
        {"\xf4\x90\x80\x80x", "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBDx\""},
        {"\t\r\x7f", "\"\\t\\r\\u007f\""},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(Capture([&](Output& output) { PutJsonString(output, test.text); }), test.json);
    }
    std::string large(99999, 'x');
    for (size_t i = 0; i < large.size(); i += 2) {
        large.replace(i, 2, "\xc3\xbc");
    }
    EXPECT_EQ(Capture([&](Output& output) { PutJsonString(output, large); }), "\"" + large + "\"");
}

TEST_F(Formats, ShowNothingThatATerminalWouldObey) {
    const struct {
        const char* text;
        const char* visible;
    } cases[] = {
        {"\x1b]0;x\x07\t\x7f", "\\x1b]0;x\\x07\t\\x7f"},
        {"a\xc2\x9b"
         "31m\xc2\xa0\xc3\x9b",
         "a\\xc2\\x9b31m\xc2\xa0\xc3\x9b"},
        {"\xe2\x80\xaeoops\xd8\x9c", "\\xe2\\x80\\xaeoops\\xd8\\x9c"},
        {"\xe2\x80\x93\xe2\x80\xa6\xe2\x82\xac", "\xe2\x80\x93\xe2\x80\xa6\xe2\x82\xac"},
        {"\xe2\x80", "\xe2\x80"},
        {"\xff\xfe", "\xff\xfe"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(Capture([&](Output& output) { PutVisible(output, test.text); }), test.visible);
    }
}

TEST_F(Formats, RawGivesEachByteOnce) {
    EXPECT_EQ(Print("raw", Sample()), Sample());
}

TEST_F(Formats, CsvQuotesWhatNeedsIt) {
    FormatOptions options;
    options.fields = ParseFields("level,detail,thread");
    LogFields fields;
    fields.detail = "a, \"b\"\nc";
    EXPECT_EQ(Print("csv", LogFrame(1, fields) + ShortText(1, "plain"), options),
              "level,detail,thread\r\n2,\"a, \"\"b\"\"\nc\",-7\r\n-2,plain,\r\n");
}

TEST_F(Formats, ShortShowsTheFirstLineThatSaysSomething) {
    EXPECT_EQ(Print("short", Sample()),
              "2026-03-05 14:00:00.000 L0 corbaoper op-1 getNE failed \"x\", \\ \\x01\\x1b\xff "
              "\xc3\xbc [+1 line]\n"
              "2026-03-05 14:00:00.000 L2 corbaoper op-1 getNE [dump 5] text\n"
              "2026-03-05 14:00:09.000 -- corbaoper short\n");
}

TEST_F(Formats, ShortMarksWhatWasLookedFor) {
    const Pattern pattern("ex", false);
    FormatOptions options;
    options.isColoured = true;
    options.pattern = &pattern;
    EXPECT_NE(Print("short", LogFrame(1), options).find("t\x1b[1;31mex\x1b[0mt\n"),
              std::string::npos);
    options.fields = ParseFields("level,number,detail");
    EXPECT_EQ(Print("short", ShortText(1, "x"), options), "-2 - x\n");
}

TEST_F(Formats, LongShowsAllThatIsThere) {
    FormatOptions options;
    options.fields = ParseFields("time,level,operation,detail");
    LogFields fields;
    fields.detail = "a\n\nb\x1b";
    EXPECT_EQ(Print("long", LogFrame(1, fields) + ShortText(1, "x"), options),
              "time        2026-03-05T14:00:00.000000+01:00\nlevel       2\noperation   op-1\n"
              "    a\n    \n    b\\x1b\n\n"
              "time        2026-03-05T14:00:01.000000+01:00\nlevel       -2\n    x\n\n");
    EXPECT_NE(Print("long", LogFrame(1)).find("\nfunction    Query\n"), std::string::npos);
}

TEST_F(Formats, AndFieldsThatThereAreNotAreRefused) {
    EXPECT_THROW(MakeFormat("xml", {}), BadRequest);
    EXPECT_THROW(ParseFields("time,colour"), BadRequest);
    EXPECT_THROW(ParseFields(""), BadRequest);
}

}  // namespace
