// The completion of the control program's command line.
#include <gmock/gmock.h>

#include "support/childprocess.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

namespace {

using namespace testing;

// What bash offers for the last of these words. Bash itself complains of a locale that is not
// there.
std::vector<std::string> Complete(const std::vector<std::string>& words) {
    std::vector<std::string> command = {
        "bash", "-c",
        "source \"$0\" && COMP_WORDS=(\"$@\") && COMP_CWORD=$(($# - 1)) && _qv_agentctl && "
        "printf '%s\\n' \"${COMPREPLY[@]}\"",
        QV_COMPLETION, "qv_agentctl"};
    command.insert(command.end(), words.begin(), words.end());
    const NS_TEST::ChildResult result = NS_TEST::RunProgram({command, {{"LC_ALL", "C"}}});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "");
    // Where there is nothing to offer, printf prints an empty line.
    return NS_TEST::SplitText(result.output == "\n" ? "" : result.output);
}

TEST(Completion, OffersWhatFitsBehindTheWords) {
    struct Case {
        std::vector<std::string> words;
        std::vector<std::string> offered;
    };
    const std::vector<Case> cases = {
        {{""},
         {"status", "health", "flush", "flushall", "reopen", "rotate", "queue", "loggers", "level",
          "module", "mode"}},
        {{"fl"}, {"flush", "flushall"}},
        {{"--json", "--timeout", "3", "lo"}, {"loggers"}},
        {{"queue", ""}, {"on", "off"}},
        {{"queue", "on", ""}, {}},
        {{"level", ""}, {"0", "1", "2", "3"}},
        {{"level", "2", "o"}, {"on", "off"}},
        {{"level", "2", "on", "first", "second", "corbao"}, {"corbaoper"}},
        {{"flushall", "corba_"}, {"corba_alarm", "corba_internal_oper"}},
        {{"reopen", "corbas"}, {"corbasys"}},
        {{"rotate", "corban"}, {"corbanotify"}},
        {{"health", ""}, {}},
        {{"module", ""}, {"show"}},
        {{"module", "7", ""}, {"on", "off", "show"}},
        {{"module", "show", ""}, {}},
        {{"mode", ""}, {"0", "1"}},
        {{"status", "--w"}, {"--watch"}},
        {{"status", "--watch", "2", "--j"}, {"--json"}},
        {{"--timeout", ""}, {}},
        // Bash makes three words of "--share=DIR".
        {{"--share", "=", "/tmp", "lo"}, {"loggers"}},
        {{"--timeout", "=", "3", "queue", ""}, {"on", "off"}},
        {{"status", "--watch", "=", "3", "--j"}, {"--json"}},
        {{"--timeout", "="}, {}}};
    for (const auto& [words, offered] : cases) {
        EXPECT_EQ(Complete(words), offered) << PrintToString(words);
    }
}

TEST(Completion, OffersOptionsWhereTheyFitAndDirectoriesForTheShareDirectory) {
    EXPECT_THAT(Complete({"--"}), IsSupersetOf({"--share", "--socket", "--timeout", "--json"}));
    EXPECT_THAT(Complete({"queue", "--"}), Not(Contains("--watch")));
    const NS_TEST::TemporaryDirectory directory;
    const std::string start = directory.Path().substr(0, directory.Path().size() - 1);
    EXPECT_THAT(Complete({"--share", start}), Contains(directory.Path()));
    EXPECT_THAT(Complete({"--share", "=", start}), Contains(directory.Path()));
}

}  // namespace
