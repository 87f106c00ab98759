#include <unistd.h>

#include "command/commands.h"
#include "command/session.h"
#include "command/verification.h"
#include "output/output.h"
#include "output/recordformat.h"

namespace NS_LOG_READER {
namespace {

void PutCount(Output& output, uint64_t count, const char* what) {
    output.Put(", ");
    output.PutNumber(static_cast<int64_t>(count));
    output.Put(what);
}

void PrintText(Output& output, const Series& series, const Verification& result) {
    for (const Finding& finding : result.findings) {
        output.Put(finding.path);
        output.Put(": at byte ");
        output.PutNumber(static_cast<int64_t>(finding.offset));
        output.Put(finding.isProblem ? ": " : ": note: ");
        output.Put(finding.text);
        output.Put('\n');
    }
    output.Put(series.category.empty() ? series.files.front().name.path : series.category);
    output.Put(" of process ");
    output.PutNumber(series.process);
    output.Put(": ");
    output.PutNumber(static_cast<int64_t>(series.files.size()));
    output.Put(series.files.size() == 1 ? " file" : " files");
    PutCount(output, result.frames, " records");
    PutCount(output, result.shortRecords, " short");
    PutCount(output, result.dumped, " dumped");
    PutCount(output, result.missing, " missing");
    PutCount(output, result.torn, " torn");
    PutCount(output, result.outOfOrder, " out of order");
    output.Put(result.Problems() == 0 ? ": whole\n" : ": NOT WHOLE\n");
}

void PutMember(Output& output, const char* name, uint64_t value) {
    output.Put(",\"");
    output.Put(name);
    output.Put("\":");
    output.PutNumber(static_cast<int64_t>(value));
}

void PutMember(Output& output, const char* name, std::string_view value) {
    output.Put(",\"");
    output.Put(name);
    output.Put("\":");
    PutJsonString(output, value);
}

void PrintJson(Output& output, const Series& series, const Verification& result) {
    output.Put("{\"v\":1");
    PutMember(output, "category", series.category);
    PutMember(output, "process", static_cast<uint64_t>(series.process));
    PutMember(output, "files", series.files.size());
    PutMember(output, "bytes", result.bytes);
    PutMember(output, "records", result.frames);
    PutMember(output, "short", result.shortRecords);
    PutMember(output, "dumped", result.dumped);
    PutMember(output, "missing", result.missing);
    PutMember(output, "torn", result.torn);
    PutMember(output, "out_of_order", result.outOfOrder);
    PutMember(output, "first", result.firstStamp);
    PutMember(output, "last", result.lastStamp);
    output.Put(result.Problems() == 0 ? ",\"whole\":true" : ",\"whole\":false");
    output.Put(",\"findings\":[");
    for (const Finding& finding : result.findings) {
        output.Put(&finding == &result.findings.front() ? "{\"log\":" : ",{\"log\":");
        PutJsonString(output, finding.path);
        PutMember(output, "offset", finding.offset);
        PutMember(output, "text", finding.text);
        output.Put(finding.isProblem ? ",\"problem\":true}" : ",\"problem\":false}");
    }
    output.Put("]}\n");
}

}  // namespace

ExitCode RunVerify(const Options& options) {
    Session session(options);
    Output output(STDOUT_FILENO);
    bool isWhole = true;
    bool couldBeRead = true;
    for (const Series& series : session.AllSeries()) {
        const Verification result = Verify(series);
        (options.json ? PrintJson : PrintText)(output, series, result);
        isWhole = isWhole && result.Problems() == 0;
        couldBeRead = couldBeRead && result.couldBeRead;
    }
    output.Flush();
    return couldBeRead ? session.Exit(isWhole) : ExitCode::Trouble;
}

}  // namespace NS_LOG_READER
