// The control socket in the file system.
#include "control/listeningsocket.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <stdexcept>

#include "agentctl/socketclient.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

namespace {

using NS_REFERENCE_HOST::FileDescriptor;
using NS_REFERENCE_HOST::ListeningSocket;
using NS_REFERENCE_HOST::SocketAddress;
using NS_TEST::SocketClient;
using ::testing::AllOf;
using ::testing::HasSubstr;

class ListeningSocketLife : public NS_TEST::DirectoryTest {
  protected:
    std::string Socket() const { return Path("socket"); }

    // Why no socket can be made there; empty when one can.
    std::string Reason() const { return Reason(Socket()); }
    static std::string Reason(const std::string& path) {
        try {
            const ListeningSocket made(path);
            return std::string();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }

    mode_t Mode() const {
        struct stat found {};
        return stat(Socket().c_str(), &found) == 0 ? found.st_mode : 0;
    }
};

TEST_F(ListeningSocketLife, IsForItsOwnerOnlyWhateverTheMask) {
    for (const mode_t mask : {0U, 0022U, 0077U, 0777U}) {
        const mode_t before = umask(mask);
        const ListeningSocket made(Socket());
        EXPECT_EQ(umask(before), mask) << "the mask is left alone";
        EXPECT_EQ(Mode(), S_IFSOCK | 0600);
        EXPECT_NO_THROW(SocketClient client(Socket()));
        EXPECT_THAT(NS_TEST::ListFiles(Path()), ::testing::ElementsAre("socket"));
    }
    EXPECT_THAT(NS_TEST::ListFiles(Path()), ::testing::IsEmpty()) << "it goes with its object";
}

TEST_F(ListeningSocketLife, ReplacesTheSocketOfADeadAgent) {
    NS_TEST::BoundSocket(Socket());
    const ListeningSocket made(Socket());
    EXPECT_NO_THROW(SocketClient client(Socket()));
    EXPECT_EQ(Mode(), S_IFSOCK | 0600);
}

TEST_F(ListeningSocketLife, DoesNotReplaceTheSocketOfALivingAgent) {
    const ListeningSocket living(Socket());
    EXPECT_THAT(Reason(), HasSubstr("another agent serves " + Socket()));
    EXPECT_NO_THROW(SocketClient client(Socket()));
}

TEST_F(ListeningSocketLife, TakesAFullQueueForASignOfLife) {
    const FileDescriptor busy = NS_TEST::ListeningTo(Socket());
    const SocketClient first(Socket());
    EXPECT_THAT(Reason(), HasSubstr("another agent serves"));
}

TEST_F(ListeningSocketLife, NeitherReplacesNorFollowsWhatIsNoSocket) {
    NS_TEST::WriteFile(Socket(), "precious");
    EXPECT_THAT(Reason(), HasSubstr("is no socket"));
    EXPECT_EQ(NS_TEST::ReadFile(Socket()), "precious");
    std::filesystem::remove(Socket());
    std::filesystem::create_symlink(Path("elsewhere"), Socket());
    EXPECT_THAT(Reason(), HasSubstr("is no socket"));
    EXPECT_FALSE(std::filesystem::exists(Path("elsewhere")));
}

// Everybody who may read a directory may lock it.
TEST_F(ListeningSocketLife, DoesNotMindALockOnTheDirectory) {
    const FileDescriptor directory(open(Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(flock(directory.Get(), LOCK_EX), 0);
    EXPECT_EQ(Reason(), "");
}

TEST_F(ListeningSocketLife, DoesNotRemoveTheSocketThatHasTakenItsPlace) {
    std::optional<ListeningSocket> first(std::in_place, Socket());
    std::filesystem::rename(Socket(), Path("moved"));
    const ListeningSocket second(Socket());
    first.reset();
    EXPECT_NO_THROW(SocketClient client(Socket()));
}

TEST_F(ListeningSocketLife, ThePathMayBeLongerThanASocketAddress) {
    std::string directory = Path();
    for (int depth = 0; depth < 5; ++depth) {
        directory += "/" + std::string(50, 'd');
    }
    std::filesystem::create_directories(directory);
    const std::string path = directory + "/socket";
    ASSERT_GT(path.size(), sizeof(sockaddr_un::sun_path));
    {
        const ListeningSocket made(path);
        EXPECT_NO_THROW(SocketClient client(path));
        EXPECT_THROW(ListeningSocket again(path), std::runtime_error);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(ListeningSocketLife, RefusesAMissingDirectoryAndANameThatIsTooLong) {
    EXPECT_THAT(Reason(Path("nowhere/socket")),
                AllOf(HasSubstr("nowhere/"), HasSubstr(": No such file or directory")));
    EXPECT_THROW(SocketAddress address(Path(std::string(120, 'n'))), std::system_error);
}

}  // namespace
