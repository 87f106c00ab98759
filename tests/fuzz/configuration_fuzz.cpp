// Starts the service with made-up configuration files. Whatever stands there, the service starts,
// logs, takes the file's switches a second time, and its books close.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "bundlemgr/corbaconfigitems.h"
#include "bundlemgr/logproxy.h"
#include "control/logmaintenanceimpl.h"
#include "control/serviceconfiguration.h"
#include "control/switchfile.h"
#include "diagnostic/defaultlogproxy.h"
#include "manager/logmgr.h"
#include "platform/configfile.h"
#include "platform/hostcontrol.h"

namespace {

using namespace NS_LOG_SERVICE1;

constexpr char kCategory[] = "corbaoper";

void Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

// The items of a text, as the platform reads them out of the configuration file.
class TextItems final : public NS_BUNDLEMGR1::CorbaConfigItems {
  public:
    void Take(const std::string& text) { items_ = NS_REFERENCE_HOST::ParseConfigText(text).items; }

    bool GetIntItemInfo(const std::string& name, int& value) override {
        std::string text;
        return GetStrItemInfo(name, text) && NS_REFERENCE_HOST::ParseWholeNumber(text, value);
    }
    bool GetStrItemInfo(const std::string& name, std::string& value) override {
        return NS_BUNDLEMGR1::GetValByKey(value, name, items_);
    }
    void GetCorbaConfigItems(std::vector<NS_BUNDLEMGR1::NameValueStru>& items) override {
        items = items_;
    }

  private:
    std::vector<NS_BUNDLEMGR1::NameValueStru> items_;
};

// Every input is reported; nobody reads that.
class SilentProxy final : public NS_BUNDLEMGR1::DefaultLogProxy,
                          public NS_BUNDLEMGR1::LogProxyProvider {
  public:
    NS_BUNDLEMGR1::LogProxy* GetLogProxy(const std::string&) override { return this; }
    void Print(int, const char*, ...) override {}
};

// Lives as long as the process: the share directory, in memory where there is room for it.
struct World {
    TextItems items;
    SilentProxy proxy;
    std::string directory;

    World() {
        std::string pattern =
            (std::filesystem::exists("/dev/shm") ? std::filesystem::path("/dev/shm")
                                                 : std::filesystem::temp_directory_path()) /
            "qvfuzz.XXXXXX";
        Require(mkdtemp(pattern.data()) != nullptr, "no directory for the log files");
        directory = pattern;
        setenv("_APP_SHARE_DIR", directory.c_str(), 1);
        NS_REFERENCE_HOST::SetConfigItems(&items);
        NS_REFERENCE_HOST::SetLogProxyProvider(&proxy);
    }
    ~World() {
        NS_REFERENCE_HOST::SetConfigItems(nullptr);
        NS_REFERENCE_HOST::SetLogProxyProvider(nullptr);
        std::error_code ignored;
        std::filesystem::remove_all(directory, ignored);
    }
};

void LogOnEachLevel(LogMgr& manager) {
    LoggerIF* const logger = manager.GetLogger("fuzz", "fuzz", kCategory);
    Require(logger != nullptr, "no logger");
    for (int i = 0; i < 8; ++i) {
        logger->Log("f.cpp", "F", 1, i % 4, "text");
    }
}

void RequireClosedBooks(LogMaintenanceImpl&& maintenance) {
    std::vector<ChannelBooks> all;
    maintenance.GetChannelBooks(all);
    Require(!all.empty(), "no channels");
    for (const ChannelBooks& books : all) {
        Require(books.recordsReceived == books.recordsWritten + books.recordsDumped +
                                             books.recordsEvicted + books.recordsDropped +
                                             books.recordsOverwritten + books.recordsQueued +
                                             books.recordsCached,
                "the books do not close");
        Require(books.recordsQueued == 0, "a queue is left");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static World world;
    world.items.Take(std::string(reinterpret_cast<const char*>(data), size));
    LogMgr* const manager = LogMgr::Instance();
    Require(manager != nullptr, "no manager");
    LoadServiceConfiguration(world.items, *manager);
    LogOnEachLevel(*manager);
    ApplySwitchFile();
    LogOnEachLevel(*manager);
    manager->FlushAll();
    RequireClosedBooks(LogMaintenanceImpl(*manager));
    LogMgr::DestroyInstance();
    std::error_code ignored;
    std::filesystem::remove_all(world.directory + "/log", ignored);
    return 0;
}
