#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "command/commands.h"
#include "command/session.h"
#include "command/verification.h"
#include "output/output.h"
#include "output/recordformat.h"
#include "output/visibletext.h"

namespace NS_LOG_READER {
namespace {

void PutCount(Output& output, uint64_t count, const char* what) {
    output.Put(", ");
    output.PutNumber(static_cast<int64_t>(count));
    output.Put(what);
}

void PrintText(Output& output, const Series& series, const Verification& result) {
    for (const Finding& finding : result.findings) {
        PutVisible(output, finding.path);
        output.Put(": at byte ");
        output.PutNumber(static_cast<int64_t>(finding.offset));
        output.Put(finding.isProblem ? ": " : ": note: ");
        output.Put(finding.text);
        output.Put('\n');
    }
    PutVisible(output, series.category.empty() ? series.files.front().name.path : series.category);
    output.Put(" of process ");
    output.PutNumber(series.process);
    PutVisible(output, series.host.empty() ? "" : " on " + series.host);
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

void PrintJson(Output& output, const Series& series, const Verification& result) {
    output.Put("{\"v\":1");
    if (!series.host.empty()) {
        PutJsonMember(output, "host", series.host);
    }
    PutJsonMember(output, "category", series.category);
    PutJsonMember(output, "process", static_cast<uint64_t>(series.process));
    PutJsonMember(output, "files", series.files.size());
    PutJsonMember(output, "bytes", result.bytes);
    PutJsonMember(output, "records", result.frames);
    PutJsonMember(output, "short", result.shortRecords);
    PutJsonMember(output, "dumped", result.dumped);
    PutJsonMember(output, "missing", result.missing);
    PutJsonMember(output, "torn", result.torn);
    PutJsonMember(output, "out_of_order", result.outOfOrder);
    PutJsonMember(output, "first", result.firstStamp);
    PutJsonMember(output, "last", result.lastStamp);
    output.Put(result.Problems() == 0 ? ",\"whole\":true" : ",\"whole\":false");
    output.Put(",\"findings\":[");
    for (const Finding& finding : result.findings) {
        output.Put(&finding == &result.findings.front() ? "{\"log\":" : ",{\"log\":");
        PutJsonString(output, finding.path);
        PutJsonMember(output, "offset", finding.offset);
        PutJsonMember(output, "text", finding.text);
        output.Put(finding.isProblem ? ",\"problem\":true}" : ",\"problem\":false}");
    }
    output.Put("]}\n");
}

// The files in which something is missing, and those before them, where it may have been.
std::vector<const LogFile*> FilesWithProblems(const Series& series, const Verification& result) {
    std::vector<const LogFile*> files;
    for (size_t i = 0; i < series.files.size(); ++i) {
        const auto concerns = [&](size_t file) {
            return file < series.files.size() &&
                   std::any_of(
                       result.findings.begin(), result.findings.end(), [&](const Finding& finding) {
                           return finding.isProblem && finding.path == series.files[file].name.path;
                       });
        };
        if (concerns(i) || concerns(i + 1)) {
            files.push_back(&series.files[i]);
        }
    }
    return files;
}

}  // namespace

ExitCode RunVerify(const Options& options) {
    const std::unique_ptr<Store> store = options.store.empty() ? nullptr : OpenStore(options.store);
    const std::unique_ptr<Archive> files = store ? nullptr : OpenArchive(options);
    Session session(options, store ? *store : *files);
    Output output(STDOUT_FILENO);
    bool isWhole = true;
    bool couldBeRead = true;
    size_t ordered = 0;
    for (const Series& series : session.AllSeries()) {
        const Verification result = session.Verify(series);
        if (options.sendsAgain && result.Problems() > 0) {
            ordered += store->OrderAgain(FilesWithProblems(series, result));
        }
        (options.json ? PrintJson : PrintText)(output, series, result);
        isWhole = isWhole && result.Problems() == 0;
        couldBeRead = couldBeRead && result.couldBeRead;
    }
    output.Flush();
    if (options.sendsAgain) {
        std::fprintf(stderr, "qvlog: %zu files will be sent again by their hosts\n", ordered);
    }
    if (session.AllSeries().empty() && !session.Problems().HasTrouble()) {
        // Nothing may be missing of what is there, but all of it may.
        std::fprintf(stderr, "qvlog: no log files\n");
        isWhole = false;
    }
    return couldBeRead ? session.Exit(isWhole) : ExitCode::Trouble;
}

}  // namespace NS_LOG_READER
