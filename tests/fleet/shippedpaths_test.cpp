// Paths of which nothing is sent, and a shipper that is stopped before it has sent all.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "fleet/shipperfixture.h"
#include "support/capturedoutput.h"

namespace {

using namespace NS_TEST;
using ::testing::HasSubstr;

class ShippedPaths : public ShipperTest {
  protected:
    // What the shipper says of the paths. It has not sent all.
    std::string Complaint(const std::vector<std::string>& paths) {
        const CapturedOutput errors(STDERR_FILENO);
        EXPECT_FALSE(Ship(paths));
        return errors.Text();
    }
};

TEST_F(ShippedPaths, TakesNoFileForRemovedWhileADirectoryIsMissing) {
    WriteFile(LogPath(), Text());
    ASSERT_TRUE(Ship());
    std::filesystem::create_directory(Path("there"));
    EXPECT_THAT(Complaint({Path("missing"), Path("there")}),
                HasSubstr(Path("missing") + ": No such file or directory\n"));
    EXPECT_FALSE(kept_.files[0].hasGone);

    EXPECT_TRUE(Ship({Path("there")}));
    EXPECT_TRUE(kept_.files[0].hasGone);
}

TEST_F(ShippedPaths, ReportsALogFileThatIsMissing) {
    EXPECT_THAT(Complaint({LogPath()}), HasSubstr(LogPath() + ": No such file or directory\n"));
}

TEST_F(ShippedPaths, ReportsAFileWhoseNameIsThatOfNoLogFile) {
    WriteFile(Path("x.log"), Text());
    EXPECT_THAT(Complaint({Path("x.log")}),
                HasSubstr(Path("x.log") + ": that is no log file's name\n"));
    EXPECT_TRUE(kept_.files.empty());
}

TEST_F(ShippedPaths, ReportsACompressedFileThatItIsGiven) {
    WriteFile(LogPath() + ".gz", "compressed");
    EXPECT_THAT(Complaint({LogPath() + ".gz"}),
                HasSubstr(LogPath() + ".gz: compressed files are not sent\n"));
    EXPECT_TRUE(Ship()) << "those of a directory are left alone";
    EXPECT_TRUE(kept_.files.empty());
}

TEST_F(ShippedPaths, SendsTheOthersThatItIsGiven) {
    WriteFile(LogPath(), Text());
    Complaint({Path("missing"), LogPath()});
    ASSERT_EQ(kept_.files.size(), 1U);
    EXPECT_EQ(kept_.files[0].bytes, Text());
}

TEST_F(ShippedPaths, SaysThatItWasStoppedBeforeAllWasSent) {
    WriteFile(LogPath(), Text());
    Shipper* running = nullptr;
    ShipSettings settings = Settings({Path()});
    const auto stop = [&running]() -> std::unique_ptr<Target> {
        running->Stop();
        throw TargetError("the target is away", true);
    };
    Shipper once(settings, stop);
    running = &once;
    const CapturedOutput errors(STDERR_FILENO);
    EXPECT_FALSE(once.Run());
    EXPECT_THAT(errors.Text(), HasSubstr("stopped before all was sent\n"));

    settings.once = false;
    Shipper service(settings, stop);
    running = &service;
    EXPECT_TRUE(service.Run());
}

}  // namespace
