// qvlog prune --shipped, without a server.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "support/childprocess.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

namespace {

using namespace NS_TEST;
using ::testing::HasSubstr;

class PruneShipped : public DirectoryTest {
  protected:
    PruneShipped() { WriteFile(Path("unbi_debug_20260305_140709_1.log"), "a line\n"); }

    // What it says on standard error. It fails, and removes nothing.
    std::string Refusal(std::vector<std::string> words) const {
        words.insert(words.begin(), {QVLOG, "prune", "--host", "host1"});
        words.push_back(Path());
        const ChildResult result = RunProgram(ChildStart{words});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(ListFiles(Path()).size(), 1U);
        return result.errors;
    }
};

TEST_F(PruneShipped, RemovesNothingWhenTheStoreDoesNotAnswer) {
    const std::string nobody = "postgresql://qv@127.0.0.1:1/qv";
    EXPECT_THAT(Refusal({"--shipped", "--to", nobody}), HasSubstr("qvlog: the store: "));
    EXPECT_THAT(Refusal({"--shipped", "--store", nobody, "--keep", "0"}), HasSubstr("the store: "));
}

TEST_F(PruneShipped, RemovesNothingWhenTheStreamDoesNotAnswer) {
    EXPECT_THAT(Refusal({"--shipped", "--to", "nats://127.0.0.1:1"}),
                HasSubstr("qvlog: the stream: cannot connect"));
}

TEST_F(PruneShipped, WantsToKnowWhereTheFilesAreSent) {
    EXPECT_THAT(Refusal({"--shipped"}), HasSubstr("--shipped requires --to"));
    EXPECT_THAT(Refusal({"--keep", "0", "--to", "nats://127.0.0.1:1"}),
                HasSubstr("--to requires --shipped"));
    EXPECT_THAT(Refusal({"--shipped", "--to", "ftp://127.0.0.1"}),
                HasSubstr("--to takes postgresql://... or nats://..., not 'ftp://127.0.0.1'"));
}

}  // namespace
