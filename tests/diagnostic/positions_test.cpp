// The position of each diagnostic: a line of the file that it names, where its text stands.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "diagnostic/messages.h"
#include "support/files.h"

namespace NS_LOG_SERVICE1 {
namespace {

struct NamedDiagnostic {
    const char* name;
    const Diagnostic& diagnostic;
};

#define NAMED(diagnostic)       \
    NamedDiagnostic {           \
#diagnostic, diagnostic \
    }

const NamedDiagnostic kAll[] = {
    NAMED(kInitFailed),         NAMED(kNoLogFileSize),         NAMED(kNoLogFileCount),
    NAMED(kNoQueueLength),      NAMED(kNoFilterLength),        NAMED(kNoLogTimeInterval),
    NAMED(kNoOutputMode),       NAMED(kNoEnableAsnLog),        NAMED(kNoLogOutputPara),
    NAMED(kNoEnableAsnTrace),   NAMED(kMeaninglessOutputMode), NAMED(kTaskNotDeleted),
    NAMED(kEnablingRefused),    NAMED(kDisablingRefused),      NAMED(kFormatFailed),
    NAMED(kDumpFormatFailed),   NAMED(kRecordsNotWritten),     NAMED(kRecordsOverwritten),
    NAMED(kMonitorWithoutFile), NAMED(kFileOutOfReach),        NAMED(kPassFailed),
    NAMED(kMonitorGone),        NAMED(kNoLogSwitchItem),       NAMED(kNoAsnLogItem),
    NAMED(kNoOutputParaItem),   NAMED(kLogSwitchNotSplit),     NAMED(kLogSwitchInvalid),
    NAMED(kNoLogManager),       NAMED(kLevelsChanged),         NAMED(kAsnLogInvalid),
    NAMED(kAsnLogChanged),      NAMED(kOutputParaInvalid),     NAMED(kOutputParaChanged),
};

std::string SourceFile(const std::string& name) {
    return NS_TEST::ReadFile(std::string(QV_SOURCE_DIR) + "/" + name);
}

// The lines of `text` from number `first` on (1: all of them).
std::string FromLine(const std::string& text, int first) {
    size_t start = 0;
    for (int line = 1; line < first && start != std::string::npos; ++line) {
        start = text.find('\n', start) + 1;
    }
    return text.substr(start);
}

// As the text stands in the source.
std::string AsLiteral(const std::string& text) {
    std::string literal = "\"";
    for (const char character : text) {
        literal += character == '\n' ? std::string("\\n") : std::string(1, character);
    }
    return literal + "\"";
}

TEST(Positions, AreTheLinesOfTheTexts) {
    for (const auto& [name, diagnostic] : kAll) {
        SCOPED_TRACE(name);
        const std::string file =
            std::string(diagnostic.Source()).substr(0, std::string(diagnostic.Source()).find('.'));
        const std::string rest = FromLine(SourceFile(file + ".cpp"), diagnostic.Line());
        // The line itself or, where it is too long, the next one.
        const size_t found = rest.find(AsLiteral(diagnostic.Text()));
        ASSERT_NE(found, std::string::npos);
        const std::string before = rest.substr(0, found);
        EXPECT_LE(std::count(before.begin(), before.end(), '\n'), 1) << before;
    }
}

TEST(Positions, AreTestedForAllDiagnostics) {
    const std::string header = SourceFile("diagnostic/messages.h");
    const std::string declaration = "extern const Diagnostic ";
    size_t declared = 0;
    for (size_t at = header.find(declaration); at != std::string::npos;
         at = header.find(declaration, at + 1)) {
        ++declared;
    }
    EXPECT_EQ(declared, std::size(kAll));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
