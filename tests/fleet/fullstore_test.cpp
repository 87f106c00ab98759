// A store whose disk is full.
#include <pwd.h>

#include "fleet/fleetfixture.h"
#include "support/smallfilesystem.h"

namespace {

using namespace NS_TEST;

constexpr size_t kMegabyte = size_t{1} << 20;

class FullStore : public FleetTest {
  protected:
    // A small disk that belongs to the server's user, while the server is away. False where it
    // cannot be had.
    bool MakeDisk(size_t megabytes) {
        Postgres().Stop();
        disk_ = std::make_unique<SmallFileSystem>(Path("disk"), megabytes * kMegabyte, 1000);
        const passwd* const user = ::getpwnam("postgres");
        return disk_->IsMounted() && user != nullptr &&
               ::chown(Path("disk").c_str(), user->pw_uid, user->pw_gid) == 0;
    }

    // Leaves so much room on it.
    void TakeRoom(size_t megabytes) const {
        const auto room = std::filesystem::space(Path("disk")).available;
        ASSERT_GT(room, megabytes * kMegabyte);
        WriteFile(Path("disk/other"), std::string(room - megabytes * kMegabyte, 'x'));
    }
    void GiveRoom() const { std::filesystem::remove(Path("disk/other")); }

    void AwaitAll(int64_t files) const {
        Await([&] { return Number("SELECT count(*) FROM qv.file WHERE complete") == files; });
    }

  private:
    std::unique_ptr<SmallFileSystem> disk_;
};

// The server refuses rows, and goes on.
TEST_F(FullStore, MakesShippersWaitAndLosesNothing) {
    if (!MakeDisk(100)) {
        GTEST_SKIP() << "needs the right to mount a file system, and a user postgres";
    }
    Postgres().Start();
    {
        Connection store(Postgres().Url());
        store.Run("CREATE TABLESPACE small LOCATION '" + Path("disk") + "'");
        store.Run("ALTER DATABASE qv SET default_tablespace = small");
    }
    const auto shipper = StartShipper();
    Watch(*shipper);
    RunAgent(5);
    AwaitAll(7);
    TakeRoom(12);
    RunAgent(1200);
    ASSERT_TRUE(shipper->WaitForError("No space left on device"));
    EXPECT_GT(CountRecords(), 0);
    GiveRoom();
    ASSERT_TRUE(shipper->WaitForError("sending goes on"));
    AwaitAll(14);
    shipper->Signal(SIGTERM);
    shipper->Wait();
    ExpectStoreHasFiles();
}

// The server ends when it cannot write its log of changes.
TEST_F(FullStore, LosesNothingWhenTheServerEndsOfIt) {
    if (!MakeDisk(200)) {
        GTEST_SKIP() << "needs the right to mount a file system, and a user postgres";
    }
    const ChildResult moved =
        RunProgram({{"bash", "-c",
                     "mv \"$0/postgres/data/pg_wal\" \"$0/disk/\" && ln -s \"$0/disk/pg_wal\" "
                     "\"$0/postgres/data/pg_wal\"",
                     Path()}});
    ASSERT_EQ(moved.exitCode, 0) << moved.errors;
    Postgres().Start();
    TakeRoom(4);
    RunAgent(1200);
    const auto shipper = StartShipper();
    Watch(*shipper);
    ASSERT_TRUE(shipper->WaitForError("the store: "));
    Await([&] {
        return ReadFile(Path("postgres/log")).find("No space left on device") != std::string::npos;
    });
    GiveRoom();
    Postgres().KillIfThere();
    Postgres().Start();
    ASSERT_TRUE(shipper->WaitForError("sending goes on"));
    AwaitAll(7);
    shipper->Signal(SIGTERM);
    shipper->Wait();
    ExpectStoreHasFiles();
}

}  // namespace
